// SPDX-License-Identifier: MIT
// What values qnget takes, from the command line and from its settings. Each check
// says why a text is refused, or gives an empty string.
#ifndef QNGET_CHECKS_H
#define QNGET_CHECKS_H

#include <string>

namespace qnget {

std::string CheckHeaderValue(const std::string &value);
std::string CheckContentType(const std::string &value);
std::string CheckTimeout(const std::string &text);

}  // namespace qnget

#endif
