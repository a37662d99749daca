// The trace lines of the HTTP client. They go through the C library's standard
// output, whose buffer and order the application's own output shares; numbers
// are written here, as one of these lines comes with every receive.
#include "qn_stack_trace.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <limits>

namespace qn {

void Trace(std::string_view label) { std::fwrite(label.data(), 1, label.size(), stdout); }

void Trace(std::string_view label, std::string_view text) {
  Trace(label);
  Trace(text);
}

void Trace(std::string_view label, const char *text) {
  Trace(label, std::string_view(text == nullptr ? "(null)" : text));
}

void Trace(std::string_view label, int32_t number) {
  std::array<char, std::numeric_limits<int32_t>::digits10 + 3> digits;
  const auto written = std::to_chars(digits.begin(), digits.end(), number);
  Trace(label,
        std::string_view(digits.data(), static_cast<std::size_t>(written.ptr - digits.data())));
}

}  // namespace qn
