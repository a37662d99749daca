// SPDX-License-Identifier: MIT
// The dates of header fields, to the second.
#ifndef QNGET_HTTP_DATE_H
#define QNGET_HTTP_DATE_H

#include <cstdint>
#include <optional>
#include <string>

namespace qnget {

/**
 * The Unix time of a date in one of the three forms of RFC 9110, section 5.6.7;
 * nothing for any other text, a date that no calendar has, or another zone than
 * GMT. Case does not count. Of two digits for a year, 69 to 99 are of the 1900s.
 */
std::optional<int64_t> ReadHttpDate(const std::string &text);

}  // namespace qnget

#endif
