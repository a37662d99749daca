// SPDX-License-Identifier: MIT
// The line: "qnget-1 came=SECONDS until=SECONDS sum=NUMBER type=TYPE IDENTITY".
#include "cache_label.h"

#include <charconv>

#include "identity.h"

namespace qnget {
namespace {

constexpr std::string_view kVersion = "qnget-1";

// Takes "NAME=VALUE" and the blank behind it off a text.
std::optional<std::string_view> TakeItem(std::string_view &text, std::string_view name) {
  const size_t end = text.find(' ');
  const std::string_view item = text.substr(0, end);
  if (end == std::string_view::npos || !item.starts_with(name)) return {};
  text.remove_prefix(end + 1);
  return item.substr(name.size());
}

template <typename Number>
bool TakeNumber(std::string_view &text, std::string_view name, Number &number) {
  const std::optional<std::string_view> digits = TakeItem(text, name);
  if (!digits) return false;
  const char *end = digits->data() + digits->size();
  const auto [stop, error] = std::from_chars(digits->data(), end, number);
  return error == std::errc() && stop == end;
}

}  // namespace

std::string LabelText(const CacheLabel &label) {
  return std::string(kVersion) + " came=" + std::to_string(label.came) +
         " until=" + std::to_string(label.until) + " sum=" + std::to_string(label.checksum) +
         " type=" + Escaped(label.type) + " " + label.identity;
}

std::optional<CacheLabel> ReadLabel(std::string_view text) {
  CacheLabel label;
  if (TakeItem(text, kVersion) != "" || !TakeNumber(text, "came=", label.came) ||
      !TakeNumber(text, "until=", label.until) || !TakeNumber(text, "sum=", label.checksum)) {
    return {};
  }
  const std::optional<std::string_view> type = TakeItem(text, "type=");
  if (!type) return {};
  label.type = *type;
  label.identity = text;
  return label;
}

// FNV-1a.
uint64_t ChecksumOf(std::string_view body) {
  uint64_t sum = 0xcbf29ce484222325;
  for (const char byte : body) sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
  return sum;
}

}  // namespace qnget
