#include "support/buffer.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <ostream>
#include <span>

#include "qn_stack_membuffer_internal.h"

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

std::string Buffer::Unread() const {
  return {buffer_->data + buffer_->cursor, buffer_->data + buffer_->length};
}

BufferFields Buffer::Fields() const {
  EXPECT_LE(buffer_->cursor, buffer_->length);
  EXPECT_LE(buffer_->length, buffer_->capacity);
  EXPECT_EQ(buffer_->data[buffer_->length], '\0');
  const std::span<const char> block = qn::Block(buffer_);
  EXPECT_GE(malloc_usable_size(const_cast<char *>(block.data())), block.size());
  EXPECT_GE(buffer_->data, block.data());
  EXPECT_LE(buffer_->data + buffer_->capacity + kSpareBytes, block.data() + block.size());
  return {.held = {buffer_->data, buffer_->length},
          .capacity = buffer_->capacity,
          .cursor = buffer_->cursor,
          .total = buffer_->total};
}

}  // namespace qntest
