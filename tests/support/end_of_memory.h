// SPDX-License-Identifier: MIT
// Input behind which nothing can be read.
#ifndef QNSTACK_TESTS_SUPPORT_END_OF_MEMORY_H
#define QNSTACK_TESTS_SUPPORT_END_OF_MEMORY_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace qntest {

// Memory with a page behind it whose first byte ends the program that reads it.
class EndOfMemory {
 public:
  explicit EndOfMemory(std::size_t pages = 1)
      : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), room_(pages * page_) {
    void *memory =
        mmap(nullptr, room_ + page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    end_ = static_cast<char *>(memory) + room_;
    if (mprotect(end_, page_, PROT_NONE) != 0) std::abort();
  }
  ~EndOfMemory() { munmap(end_ - room_, room_ + page_); }
  EndOfMemory(const EndOfMemory &) = delete;
  EndOfMemory &operator=(const EndOfMemory &) = delete;

  // A copy that ends there, until the next one is made.
  template <typename T>
  const T *Copy(const T *from, std::size_t count) const {
    if (count * sizeof(T) > room_) std::abort();
    T *copy = reinterpret_cast<T *>(end_) - count;
    std::copy_n(from, count, copy);
    return copy;
  }

 private:
  const std::size_t page_;
  const std::size_t room_;
  char *end_;
};

}  // namespace qntest

#endif
