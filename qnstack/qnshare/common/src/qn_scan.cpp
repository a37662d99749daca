// SPDX-License-Identifier: MIT
// Numbers and words out of received text, for the URL splitter, the response
// parser, the HTTP dates and the cache.
#include "qn_scan.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

void SkipWhiteSpace(std::string_view *text) {
  text->remove_prefix(std::min(text->find_first_not_of(kWhiteSpace), text->size()));
}

}  // namespace

std::optional<int32_t> qn::TakeNumber(std::string_view *text) {
  using Limits = std::numeric_limits<int32_t>;
  SkipWhiteSpace(text);
  std::string_view digits = *text;
  // The converter takes a minus and no plus.
  if (digits.starts_with("+-")) return std::nullopt;
  if (digits.starts_with('+')) digits.remove_prefix(1);

  int32_t number = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (result.ec == std::errc::invalid_argument) return std::nullopt;
  text->remove_prefix(static_cast<std::size_t>(result.ptr - text->data()));
  if (result.ec == std::errc()) return number;
  return digits.starts_with('-') ? Limits::min() : Limits::max();
}

std::optional<int32_t> qn::ScanNumber(std::string_view text) { return TakeNumber(&text); }

std::string_view qn::ScanWord(std::string_view *text, std::size_t most) {
  SkipWhiteSpace(text);
  const std::size_t end = std::min(text->find_first_of(kWhiteSpace), text->size());
  const std::string_view word(text->data(), std::min(end, most));
  text->remove_prefix(word.size());
  return word;
}
