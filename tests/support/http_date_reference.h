// SPDX-License-Identifier: MIT
// The reading of HTTP dates once more, by the C library's number reader.
#ifndef QNSTACK_TESTS_SUPPORT_HTTP_DATE_REFERENCE_H
#define QNSTACK_TESTS_SUPPORT_HTTP_DATE_REFERENCE_H

#include <cstdint>
#include <optional>
#include <string>

namespace qntest {

// The number at the front of a text, as `scanf("%d")` would take it but held
// within 32 bits; `*end` is set to the place behind it if there is one.
std::optional<int32_t> PlainNumber(const char *text, const char **end = nullptr);

// Julian seconds of the date's midnight; -1 for a text that is no date.
int32_t PlainHttpDate(const std::string &text);

}  // namespace qntest

#endif
