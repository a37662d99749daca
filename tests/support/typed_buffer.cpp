// SPDX-License-Identifier: MIT
#include "support/typed_buffer.h"

#include <gtest/gtest.h>

#include "qnstack/qn_share_mem.h"

namespace qntest {
namespace {

char *NewStorage(size_t bytes) {
  return static_cast<char *>(fnQN_Malloc_Local(static_cast<uint32_t>(bytes), __FILE__, __LINE__));
}

}  // namespace

TypedBuffer::TypedBuffer(uint32_t capacity) : record_{NewStorage(capacity + 1), 0, 0} {
  fnQNFS_Init_Buffer(&record_, capacity);
}

TypedBuffer::TypedBuffer(std::string_view content)
    : record_{NewStorage(content.size()), -1, static_cast<int32_t>(content.size()) - 1} {
  content.copy(record_.data, content.size());
}

TypedBuffer::~TypedBuffer() { fnQN_Free(&record_.data); }

std::string TypedBuffer::Image() const {
  return {record_.data, static_cast<size_t>(record_.pos + 1)};
}

void TypedBuffer::Write(const std::string &text) {
  fnQNFS_Buffer_WriteString(&record_, text.c_str(), static_cast<int32_t>(text.size()));
}

std::string TypedBuffer::Read() {
  char *field = fnQNFS_Buffer_ReadString(&record_);
  EXPECT_NE(field, nullptr);
  const std::string text = field != nullptr ? field : "";
  fnQN_Free(&field);
  return text;
}

}  // namespace qntest
