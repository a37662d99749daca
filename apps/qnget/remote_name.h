// SPDX-License-Identifier: MIT
// The file that -O writes: it has the name that the URL gives it.
#ifndef QNGET_REMOTE_NAME_H
#define QNGET_REMOTE_NAME_H

#include <string>

namespace qnget {

/**
 * The last segment of the URL's path, percent-decoded, as a file in the working
 * folder. Throws Failure where that is no name, or one that leads elsewhere.
 */
std::string RemoteName(const std::string &url);

}  // namespace qnget

#endif
