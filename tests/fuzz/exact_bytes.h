// SPDX-License-Identifier: MIT
// Copies of fuzzed bytes on heap blocks that end where the bytes do, so that
// the address sanitizer sees every step outside.
#ifndef QNSTACK_TESTS_FUZZ_EXACT_BYTES_H
#define QNSTACK_TESTS_FUZZ_EXACT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace qntest {

// `count` elements that start as zeros, or as a copy of bytes.
template <typename T>
class Exact {
 public:
  explicit Exact(std::size_t count) : count_(count), elements_(new T[count]()) {}

  T *get() const { return elements_.get(); }
  std::size_t size() const { return count_; }
  int32_t length() const { return static_cast<int32_t>(count_); }

 private:
  std::size_t count_;
  std::unique_ptr<T[]> elements_;
};

inline Exact<char> ExactCopy(std::string_view bytes) {
  Exact<char> copy(bytes.size());
  bytes.copy(copy.get(), bytes.size());
  return copy;
}

// A terminated string: the bytes up to their first zero byte.
class ExactText {
 public:
  explicit ExactText(std::string_view bytes)
      : text_(bytes.substr(0, bytes.find('\0'))), copy_(text_.size() + 1) {
    text_.copy(copy_.get(), text_.size());
  }

  char *get() const { return copy_.get(); }
  const std::string &text() const { return text_; }

 private:
  std::string text_;
  Exact<char> copy_;
};

}  // namespace qntest

#endif
