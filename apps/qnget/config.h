// SPDX-License-Identifier: MIT
// The tasks beside transfers: settings, and what the cache holds.
#ifndef QNGET_CONFIG_H
#define QNGET_CONFIG_H

#include <string>

#include "options.h"

namespace qnget {

/** Does the task and gives what is to be printed. Throws Failure. */
std::string LookAfterStore(const Options &options);

}  // namespace qnget

#endif
