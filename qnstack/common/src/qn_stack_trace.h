// The trace lines of the HTTP client on standard output, without line ends.
#ifndef QNSTACK_QN_STACK_TRACE_H
#define QNSTACK_QN_STACK_TRACE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "qn_shown.h"

namespace qn {

// The trace lines of one call into the library, put together here and handed
// over at its end: a line comes with every receive, and standard output is
// locked for each handover.
class Trace {
 public:
  Trace() = default;
  ~Trace() { Flush(); }
  Trace(const Trace &) = delete;
  Trace &operator=(const Trace &) = delete;

  // A line of texts and numbers, the texts null or not.
  template <typename... Parts>
  void Line(const Parts &...parts) {
    (Add(parts), ...);
  }

  // Hands over what there is so far.
  void Flush();

 private:
  // Here for the compiler to see through: most texts are known to it.
  void Add(std::string_view text) {
    if (text.size() > text_.size() - size_) {
      AddBeyondRoom(text);
      return;
    }
    std::memcpy(text_.data() + size_, text.data(), text.size());
    size_ += text.size();
  }
  void Add(const char *text) { Add(Shown(text)); }
  void Add(int32_t number) { Add(std::string_view(Shown(number))); }
  void AddBeyondRoom(std::string_view text);

  std::array<char, 512> text_;
  std::size_t size_ = 0;
};

}  // namespace qn

#endif
