// SPDX-License-Identifier: MIT
// Reading numbers and words out of received text as sscanf() reads "%d" and
// "%s", but never beyond the text's end and with a result for every number.
#ifndef QNSTACK_QN_SCAN_H
#define QNSTACK_QN_SCAN_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qn {

// The decimal number at the start of `text`: leading white space, a sign and
// trailing text are taken as "%d" takes them; beyond 32 bits it is the nearest
// limit. Nothing if there are no digits.
std::optional<int32_t> ScanNumber(std::string_view text);

// Takes such a number off the front of `text`, with the white space before it.
// Nothing, with the white space alone taken, if there are no digits.
std::optional<int32_t> TakeNumber(std::string_view *text);

// Takes the next word off the front of `text` as "%s" takes it: white space is
// skipped, the word runs to the next white space, or is `most` bytes long as
// one that a width limits. Empty if there is none.
std::string_view ScanWord(std::string_view *text, std::size_t most = std::string_view::npos);

}  // namespace qn

#endif
