// The trace lines of the HTTP client. They go through the C library's standard
// output, whose buffer and order the application's own output shares.
#include "qn_stack_trace.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace qn {

void Trace::Add(std::string_view text) {
  if (text.size() > text_.size() - size_) {
    Flush();
    if (text.size() > text_.size()) {
      std::fwrite(text.data(), 1, text.size(), stdout);
      return;
    }
  }
  std::memcpy(text_.data() + size_, text.data(), text.size());
  size_ += text.size();
}

void Trace::Flush() {
  if (size_ == 0) return;
  // What failed on a socket can still be asked for behind the trace.
  const int error = errno;
  std::fwrite(text_.data(), 1, size_, stdout);
  errno = error;
  size_ = 0;
}

}  // namespace qn
