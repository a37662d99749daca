// SPDX-License-Identifier: MIT
// The growable byte buffer that holds requests and responses, for the HTTP
// client and for applications. A buffer's whole state is its public record.
#include "qnstack/qn_stack_membuffer.h"

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <limits>

#include "qn_owned.h"
#include "qn_stack_membuffer_internal.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_snprintf.h"
#include "qnstack/qn_stack_mem.h"
#include "qnstack/qn_stack_strings.h"

namespace {

constexpr uint64_t kSpareBytes = 10;  // behind the capacity; they hold the terminator
constexpr uint64_t kMostBytes = std::numeric_limits<uint32_t>::max();
constexpr uint32_t kFormattedBytes = 2048;  // bound of one formatted piece with its terminator

// What to ask the heap for when a block of `size` bytes, at least 10, is
// needed. It is rounded up to a quarter of the power of two below it, so that
// of many small appends few make the heap move the block.
uint32_t RoundedUp(uint64_t size) {
  const uint64_t below_step = std::bit_floor(size) / 4 - 1;
  return static_cast<uint32_t>(std::min((size + below_step) & ~below_step, kMostBytes));
}

// Makes room for `count` bytes behind the unread ones. The capacity grows by
// none of them or by all. False, with the buffer unchanged, if the heap refuses.
bool Reserve(QNMemBuffer *buffer, int32_t count) {
  const auto room = static_cast<int32_t>(buffer->capacity - qn::Unread(buffer));
  const uint32_t growth = room < count ? static_cast<uint32_t>(count) : 0;
  if (growth == 0 && buffer->data != nullptr) return true;
  const uint64_t capacity = uint64_t{buffer->capacity} + growth;
  if (capacity + kSpareBytes > kMostBytes) return false;
  void *grown = fnQNStack_ReMalloc(buffer->data, RoundedUp(capacity + kSpareBytes));
  if (grown == nullptr) return false;
  buffer->data = static_cast<char *>(grown);
  buffer->capacity += growth;
  return true;
}

// Moves the unread bytes to the start of the storage.
void Compact(QNMemBuffer *buffer) {
  if (buffer->cursor == 0) return;
  buffer->length = qn::Unread(buffer);
  std::memmove(buffer->data, buffer->data + buffer->cursor, buffer->length);
  buffer->cursor = 0;
}

// Whether `bytes` are a piece of the buffer's storage. Every write may move
// that, so such a piece is copied before it is written.
bool HoldsPiece(const QNMemBuffer &buffer, const void *bytes) {
  const auto *byte = static_cast<const char *>(bytes);
  return buffer.data != nullptr && !std::less<>()(byte, buffer.data) &&
         std::less<>()(byte, buffer.data + buffer.capacity + kSpareBytes);
}

}  // namespace

uint32_t qn::Unread(const QNMemBuffer *buffer) { return buffer->length - buffer->cursor; }

bool qn::WriteBytes(QNMemBuffer *buffer, const void *bytes, int32_t count) {
  if (buffer == nullptr || count < 0 || (bytes == nullptr && count > 0)) return false;
  const auto size = static_cast<uint32_t>(count);
  if (HoldsPiece(*buffer, bytes)) {
    const Owned<char> copy(CopyText({static_cast<const char *>(bytes), size}));
    return copy != nullptr && WriteBytes(buffer, copy.get(), count);
  }
  if (!Reserve(buffer, count)) return false;
  Compact(buffer);
  std::copy_n(static_cast<const char *>(bytes), size, buffer->data + buffer->length);
  buffer->length += size;
  buffer->data[buffer->length] = '\0';
  buffer->total += size;
  return true;
}

bool qn::WriteText(QNMemBuffer *buffer, const char *text) {
  const std::size_t size = std::strlen(text);
  if (size > std::numeric_limits<int32_t>::max()) return false;
  return WriteBytes(buffer, text, static_cast<int32_t>(size));
}

bool qn::WriteItem(QNMemBuffer *buffer, const char *name, const char *value) {
  return WriteText(buffer, name) && WriteText(buffer, value) && WriteText(buffer, kLineEnd);
}

void qn::TakeBack(QNMemBuffer *buffer, uint32_t total) {
  buffer->length -= buffer->total - total;
  buffer->data[buffer->length] = '\0';
  buffer->total = total;
}

QNMemBuffer *fnQN_MemBuffer_New(uint32_t capacity) {
  qn::Owned<QNMemBuffer> buffer(qn::NewRecord<QNMemBuffer>());
  if (buffer == nullptr) return nullptr;
  buffer->data = static_cast<char *>(qn::AllocateZeroed(capacity + kSpareBytes));
  if (buffer->data == nullptr) return nullptr;
  buffer->capacity = capacity;
  return buffer.release();
}

void fnQN_MemBuffer_Free(QNMemBuffer *buffer) {
  if (buffer == nullptr) return;
  fnQN_Free(&buffer->data);
  fnQN_Free(&buffer);
}

void fnQN_MemBuffer_Write(QNMemBuffer *buffer, const void *bytes, int32_t count) {
  qn::WriteBytes(buffer, bytes, count);
}

int32_t fnQN_MemBuffer_Read(QNMemBuffer *buffer, void *destination, int32_t count) {
  if (buffer == nullptr || count < 0) return -1;
  const uint32_t taken = std::min(static_cast<uint32_t>(count), qn::Unread(buffer));
  if (destination == nullptr && taken > 0) return -1;
  if (taken > 0) std::memcpy(destination, buffer->data + buffer->cursor, taken);
  buffer->cursor += taken;
  return static_cast<int32_t>(taken);
}

int32_t fnQN_MemBuffer_unRead(QNMemBuffer *buffer, int32_t count) {
  if (buffer == nullptr || count < 0) return -1;
  const auto given_back = static_cast<uint32_t>(count);
  if (given_back <= buffer->cursor) buffer->cursor -= given_back;
  return 0;
}

char *fnQN_MemBuffer_ReadBySubstr(QNMemBuffer *buffer, const char *delimiter) {
  if (buffer == nullptr || delimiter == nullptr) return nullptr;
  const char *unread = buffer->data == nullptr ? "" : buffer->data + buffer->cursor;
  const char *match = fnQN_STRSTR(unread, delimiter);
  if (match == nullptr) return nullptr;
  const std::string_view item(unread, static_cast<std::size_t>(match - unread));
  const std::size_t taken = item.size() + std::strlen(delimiter);
  if (taken > qn::Unread(buffer)) return nullptr;
  char *copy = qn::CopyText(item);
  if (copy == nullptr) return nullptr;
  buffer->cursor += static_cast<uint32_t>(taken);
  return copy;
}

int32_t fnQN_MemBuffer_Printf(QNMemBuffer *buffer, const char *format, ...) {
  if (format == nullptr) return -1;
  const qn::Owned<char> scratch(static_cast<char *>(qn::AllocateZeroed(kFormattedBytes)));
  if (scratch == nullptr) return -1;
  va_list args;
  va_start(args, format);
  const int32_t result = fnQNRTL_vsnprintf(scratch.get(), kFormattedBytes, format, args);
  va_end(args);
  qn::WriteText(buffer, scratch.get());
  return result;
}

void fnQN_MemBuffer_WriteItem(QNMemBuffer *buffer, const char *name, const char *value) {
  if (buffer == nullptr || name == nullptr || value == nullptr) return;
  if (HoldsPiece(*buffer, name) || HoldsPiece(*buffer, value)) {
    const qn::Owned<char> name_copy(fnQN_StrDup(name));
    const qn::Owned<char> value_copy(fnQN_StrDup(value));
    fnQN_MemBuffer_WriteItem(buffer, name_copy.get(), value_copy.get());
    return;
  }
  qn::WriteItem(buffer, name, value);
}

char *fnQN_MemBufer_ClearContent(QNMemBuffer *buffer) {
  if (buffer == nullptr) return nullptr;
  buffer->length = 0;
  buffer->cursor = 0;
  buffer->total = 0;
  if (buffer->data != nullptr) std::memset(buffer->data, 0, std::size_t{buffer->capacity} + 1);
  return buffer->data;
}
