// SPDX-License-Identifier: MIT
// The converters once more, written down rule by rule and unit by unit, for
// the tests to hold the library's against.
#ifndef QNSTACK_TESTS_SUPPORT_TRANSCODE_REFERENCE_H
#define QNSTACK_TESTS_SUPPORT_TRANSCODE_REFERENCE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qntest {

// MIBenum numbers.
inline constexpr uint32_t kUcs2 = 1000;
inline constexpr uint32_t kUtf16 = 1015;

// One value as UTF-8. `lead_mask` is what a two-byte lead keeps.
std::string ReferenceUtf8(uint32_t value, uint32_t lead_mask = 0x1F);

// A byte stream of UCS-2 as UTF-8, with the narrow two-byte lead.
std::string ReferenceStream(std::string_view bytes, bool big_endian);

// UTF-8 as UCS-2 units, without the terminator.
std::vector<uint16_t> ReferenceUcs2(std::string_view bytes);

// UTF-16 bytes as values, without the terminator.
std::vector<uint32_t> ReferenceUcs4(std::string_view bytes);

// What the C library makes of a text of one of its character sets in another.
// Fails the running test if it is no such text.
std::string Converted(const char *to, const char *from, std::string_view text);

// Units as bytes in an order.
std::string AsBytes(const std::vector<uint16_t> &units, bool big_endian);

}  // namespace qntest

#endif
