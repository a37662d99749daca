// SPDX-License-Identifier: MIT
// A memory buffer for tests, with every field of it in view.
#ifndef QNSTACK_TESTS_SUPPORT_BUFFER_H
#define QNSTACK_TESTS_SUPPORT_BUFFER_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "qnstack/qn_stack_membuffer.h"

namespace qntest {

// All that a buffer holds, to be compared at once.
struct BufferFields {
  std::string held;  // read and unread bytes
  uint32_t capacity = 0;
  uint32_t cursor = 0;
  uint32_t total = 0;

  bool operator==(const BufferFields &) const = default;
};

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const BufferFields &fields);

// Owns a buffer.
class Buffer {
 public:
  explicit Buffer(uint32_t capacity);
  ~Buffer();
  Buffer(const Buffer &) = delete;
  Buffer &operator=(const Buffer &) = delete;

  QNMemBuffer *get() const { return buffer_; }
  QNMemBuffer *operator->() const { return buffer_; }

  void Write(std::string_view bytes);

  // Up to `count` bytes off the front; the result must be their number.
  std::string Read(int32_t count);

  std::string Unread() const;

  // What an owner of the record may do to it by hand: go on with a copy of it,
  // put the content into a block of the least size, and take the storage away,
  // which gives what was unread.
  void MoveRecord();
  void ReplaceStorage();
  std::string TakeStorage();

  // The fields as they are. Fails the test where what always holds does not:
  // a cursor within the length, and in the storage, if there is any, a zero
  // byte behind the content and the spare bytes behind the capacity.
  BufferFields Fields() const;

 private:
  QNMemBuffer *buffer_;
};

}  // namespace qntest

#endif
