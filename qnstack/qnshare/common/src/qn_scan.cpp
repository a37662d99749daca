// Numbers and words out of received text. Owns nothing; the URL splitter, the
// answer parser, the date parser and the cache call it.
#include "qn_scan.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

// Blank, or one of "\t\n\v\f\r", which stand in a row.
constexpr bool IsWhiteSpace(char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

void SkipWhiteSpace(std::string_view *text) {
  while (!text->empty() && IsWhiteSpace(text->front())) text->remove_prefix(1);
}

}  // namespace

std::optional<int32_t> qn::TakeNumber(std::string_view *text) {
  using Limits = std::numeric_limits<int32_t>;
  SkipWhiteSpace(text);
  std::string_view digits = *text;
  const bool negative = digits.starts_with('-');
  if (digits.starts_with('+') || negative) digits.remove_prefix(1);
  // A second sign is no digit, though the converter would take a minus.
  if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;

  int64_t number = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  text->remove_prefix(static_cast<std::size_t>(result.ptr - text->data()));
  if (result.ec != std::errc()) return negative ? Limits::min() : Limits::max();
  if (negative) number = -number;
  return static_cast<int32_t>(std::clamp<int64_t>(number, Limits::min(), Limits::max()));
}

std::optional<int32_t> qn::ScanNumber(std::string_view text) { return TakeNumber(&text); }

std::string_view qn::ScanWord(std::string_view *text, std::size_t most) {
  SkipWhiteSpace(text);
  const std::size_t limit = std::min(most, text->size());
  std::size_t size = 0;
  while (size < limit && !IsWhiteSpace((*text)[size])) ++size;
  const std::string_view word(text->data(), size);
  text->remove_prefix(size);
  return word;
}
