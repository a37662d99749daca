// The trace lines of the HTTP client. They go through the C library's standard
// output, whose buffer and order the application's own output shares.
#include "qn_stack_trace.h"

#include <cstdio>
#include <cstring>

namespace qn {

void TraceLine::Add(std::string_view text) {
  if (text.size() > line_.size() - size_) {
    Flush();
    if (text.size() > line_.size()) {
      std::fwrite(text.data(), 1, text.size(), stdout);
      return;
    }
  }
  std::memcpy(line_.data() + size_, text.data(), text.size());
  size_ += text.size();
}

void TraceLine::Flush() {
  if (size_ > 0) std::fwrite(line_.data(), 1, size_, stdout);
  size_ = 0;
}

}  // namespace qn
