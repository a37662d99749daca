// SPDX-License-Identifier: MIT
// A typed file buffer for tests, on heap storage that ends where the buffer
// does, so that a sanitizer sees every step outside.
#ifndef QNSTACK_TESTS_SUPPORT_TYPED_BUFFER_H
#define QNSTACK_TESTS_SUPPORT_TYPED_BUFFER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "qnstack/qn_fs_filebuffer.h"

namespace qntest {

class TypedBuffer {
 public:
  // Empty and ready for writing; one zero byte stands behind the capacity.
  explicit TypedBuffer(uint32_t capacity);

  // As after the load of a file with these bytes.
  explicit TypedBuffer(std::string_view content);

  ~TypedBuffer();
  TypedBuffer(const TypedBuffer &) = delete;
  TypedBuffer &operator=(const TypedBuffer &) = delete;

  QNFSBuffer *get() { return &record_; }
  QNFSBuffer *operator->() { return &record_; }

  // `pos` and `last`.
  std::pair<int32_t, int32_t> Places() const { return {record_.pos, record_.last}; }

  // What a save would write.
  std::string Image() const;

  // Writes the characters as a string field.
  void Write(const std::string &text);

  // The next string field. Fails the running test if there is none.
  std::string Read();

 private:
  QNFSBuffer record_;
};

}  // namespace qntest

#endif
