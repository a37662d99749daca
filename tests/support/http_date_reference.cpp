// SPDX-License-Identifier: MIT
#include "support/http_date_reference.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

#include "support/calendar_reference.h"

namespace qntest {
namespace {

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr const char *kSpaces = " \t\n\v\f\r";

// As "%19s" reads it.
std::string PlainWord(const char **text) {
  constexpr std::size_t kMostBytes = 19;
  *text += std::strspn(*text, kSpaces);
  const std::size_t length = std::min(std::strcspn(*text, kSpaces), kMostBytes);
  const std::string word(*text, length);
  *text += length;
  return word;
}

}  // namespace

std::optional<int32_t> PlainNumber(const char *text, const char **end) {
  using Limits = std::numeric_limits<int32_t>;
  char *behind = nullptr;
  const long long number = std::strtoll(text, &behind, 10);
  if (behind == text) return std::nullopt;
  if (end != nullptr) *end = behind;
  return static_cast<int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

int32_t PlainHttpDate(const std::string &text) {
  const char *rest = text.c_str();
  PlainWord(&rest);
  const std::optional<int32_t> day = PlainNumber(rest, &rest);
  if (!day) return -1;
  const std::string name = PlainWord(&rest);
  const auto *const month = std::find(std::begin(kMonths), std::end(kMonths), name);
  const std::optional<int32_t> year = PlainNumber(rest, &rest);
  if (month == std::end(kMonths) || !year || PlainWord(&rest).empty()) return -1;
  const QNTime date = {static_cast<uint16_t>(*year),
                       static_cast<uint32_t>(month - kMonths) + 1,
                       static_cast<uint16_t>(*day),
                       0,
                       0,
                       0,
                       0};
  return static_cast<int32_t>(PlainSeconds(date));
}

}  // namespace qntest
