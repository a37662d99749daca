// The trace lines of the HTTP client on standard output, without line ends.
#ifndef QNSTACK_QN_STACK_TRACE_H
#define QNSTACK_QN_STACK_TRACE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "qn_shown.h"

namespace qn {

// One trace line, put together here and handed over at once: a line comes with
// every receive, and standard output is locked for each call.
class TraceLine {
 public:
  TraceLine() = default;
  ~TraceLine() { Flush(); }
  TraceLine(const TraceLine &) = delete;
  TraceLine &operator=(const TraceLine &) = delete;

  void Add(std::string_view text);
  void Add(const char *text) { Add(Shown(text)); }
  void Add(int32_t number) { Add(std::string_view(Shown(number))); }

 private:
  void Flush();

  std::array<char, 256> line_;
  std::size_t size_ = 0;
};

// Writes a line of texts and numbers, the texts null or not.
template <typename... Parts>
void Trace(const Parts &...parts) {
  TraceLine line;
  (line.Add(parts), ...);
}

}  // namespace qn

#endif
