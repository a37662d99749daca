// SPDX-License-Identifier: MIT
// The request body, read whole before the request is opened.
#ifndef QNGET_INPUT_H
#define QNGET_INPUT_H

#include <string>

namespace qnget {

/** Reads `file` to its end, standard input for "-". Throws Failure, above 2 GB too. */
std::string ReadRequestBody(const std::string &file);

}  // namespace qnget

#endif
