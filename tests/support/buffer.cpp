// SPDX-License-Identifier: MIT
#include "support/buffer.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <ostream>

#include "qnstack/qn_share_mem.h"

namespace qntest {
namespace {

constexpr uint32_t kSpareBytes = 10;

}  // namespace

std::ostream &operator<<(std::ostream &out, const BufferFields &fields) {
  return out << "{held " << testing::PrintToString(fields.held) << ", capacity " << fields.capacity
             << ", cursor " << fields.cursor << ", total " << fields.total << '}';
}

Buffer::Buffer(uint32_t capacity) : buffer_(fnQN_MemBuffer_New(capacity)) {}

Buffer::~Buffer() { fnQN_MemBuffer_Free(buffer_); }

void Buffer::Write(std::string_view bytes) {
  fnQN_MemBuffer_Write(buffer_, bytes.data(), static_cast<int32_t>(bytes.size()));
}

std::string Buffer::Read(int32_t count) {
  std::string bytes(static_cast<size_t>(count), '?');
  const int32_t result = fnQN_MemBuffer_Read(buffer_, bytes.data(), count);
  EXPECT_GE(result, 0);
  bytes.resize(result < 0 ? 0 : static_cast<size_t>(result));
  return bytes;
}

void Buffer::MoveRecord() {
  auto *copy =
      static_cast<QNMemBuffer *>(fnQN_Malloc_Local(sizeof(QNMemBuffer), __FILE__, __LINE__));
  *copy = *buffer_;
  *buffer_ = {};
  fnQN_Free(&buffer_);
  buffer_ = copy;
}

void Buffer::ReplaceStorage() {
  const uint32_t size = buffer_->capacity + kSpareBytes;
  auto *storage = static_cast<char *>(fnQN_Malloc_Local(size, __FILE__, __LINE__));
  std::copy_n(buffer_->data, buffer_->length, storage);
  fnQN_Free(&buffer_->data);
  buffer_->data = storage;
}

std::string Buffer::TakeStorage() {
  const std::string content = Unread();
  fnQN_Free(&buffer_->data);
  buffer_->length = 0;
  buffer_->cursor = 0;
  buffer_->total = 0;
  return content;
}

std::string Buffer::Unread() const {
  return {buffer_->data + buffer_->cursor, buffer_->data + buffer_->length};
}

BufferFields Buffer::Fields() const {
  EXPECT_LE(buffer_->cursor, buffer_->length);
  EXPECT_LE(buffer_->length, buffer_->capacity);
  if (buffer_->data != nullptr) {
    EXPECT_EQ(buffer_->data[buffer_->length], '\0');
    EXPECT_GE(malloc_usable_size(buffer_->data), size_t{buffer_->capacity} + kSpareBytes);
  } else {
    EXPECT_EQ(buffer_->length, 0U);
  }
  return {.held = {buffer_->data, buffer_->length},
          .capacity = buffer_->capacity,
          .cursor = buffer_->cursor,
          .total = buffer_->total};
}

}  // namespace qntest
