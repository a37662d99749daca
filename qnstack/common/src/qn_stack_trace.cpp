// The trace lines of the HTTP client. They go through the C library's standard
// output, whose buffer and order the application's own output shares.
#include "qn_stack_trace.h"

#include <cerrno>
#include <cstdio>

namespace qn {

void Trace::AddBeyondRoom(std::string_view text) {
  Flush();
  if (text.size() <= text_.size()) {
    Add(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
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
