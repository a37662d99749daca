// Strings and numbers as formatted output shows them, for the places where
// running a formatter would cost more than the rest.
#ifndef QNSTACK_QN_SHOWN_H
#define QNSTACK_QN_SHOWN_H

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace qn {

// The decimal digits of a number; the view of them lasts as long as this does.
class Decimal {
 public:
  explicit Decimal(int32_t number)
      : end_(std::to_chars(digits_.data(), digits_.data() + digits_.size(), number).ptr) {}
  Decimal(const Decimal &) = delete;
  Decimal &operator=(const Decimal &) = delete;

  operator std::string_view() const {
    return {digits_.data(), static_cast<std::size_t>(end_ - digits_.data())};
  }

 private:
  std::array<char, std::numeric_limits<int32_t>::digits10 + 2> digits_;
  const char *end_;
};

// What "%s" and "%d" make of a value.
constexpr std::string_view Shown(const char *text) { return text == nullptr ? "(null)" : text; }
inline Decimal Shown(int32_t number) { return Decimal(number); }

}  // namespace qn

#endif
