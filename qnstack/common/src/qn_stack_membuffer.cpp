// The growable byte buffer that holds requests and answers. Owns nothing but
// what it allocates for its callers.
#include "qnstack/qn_stack_membuffer.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <limits>

#include "qn_owned.h"
#include "qn_stack_membuffer_internal.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_snprintf.h"
#include "qnstack/qn_stack_mem.h"

namespace {

constexpr uint32_t kSpareBytes = 10;        // behind the capacity; they hold the terminator
constexpr uint32_t kFormattedBytes = 2048;  // bound of one formatted piece with its terminator
constexpr char kLineEnd[] = "\r\n";

// Squeezes out what has been read, so that the unread bytes stand in front.
void Compact(QNMemBuffer *buffer) {
  if (buffer->cursor == 0) return;
  const uint32_t unread = qn::Unread(buffer);
  if (unread > 0) std::memmove(buffer->data, buffer->data + buffer->cursor, unread);
  buffer->data[unread] = '\0';
  buffer->length = unread;
  buffer->cursor = 0;
}

// Makes room for `count` more bytes; the capacity grows by exactly that.
bool Reserve(QNMemBuffer *buffer, uint32_t count) {
  if (buffer->capacity - buffer->length >= count) return true;
  if (buffer->capacity > std::numeric_limits<uint32_t>::max() - kSpareBytes - count) return false;
  void *grown = fnQNStack_ReMalloc(buffer->data, buffer->capacity + count + kSpareBytes);
  if (grown == nullptr) return false;
  buffer->data = static_cast<char *>(grown);
  buffer->capacity += count;
  return true;
}

// Whether `bytes` lie in the buffer's own storage, which is about to move.
bool IsOwnStorage(const QNMemBuffer *buffer, const void *bytes) {
  const auto *byte = static_cast<const char *>(bytes);
  return !std::less<>()(byte, buffer->data) &&
         std::less<>()(byte, buffer->data + buffer->capacity + kSpareBytes);
}

void Append(QNMemBuffer *buffer, const void *bytes, uint32_t count) {
  Compact(buffer);
  if (count == 0 || !Reserve(buffer, count)) return;
  std::memcpy(buffer->data + buffer->length, bytes, count);
  buffer->length += count;
  buffer->data[buffer->length] = '\0';
  buffer->total += count;
}

}  // namespace

uint32_t qn::Unread(const QNMemBuffer *buffer) { return buffer->length - buffer->cursor; }

void qn::WriteText(QNMemBuffer *buffer, std::string_view text) {
  if (text.size() > std::numeric_limits<int32_t>::max()) return;
  fnQN_MemBuffer_Write(buffer, text.data(), static_cast<int32_t>(text.size()));
}

std::optional<std::string_view> qn::TakeLine(QNMemBuffer *buffer) {
  const char *unread = buffer->data + buffer->cursor;
  const char *line_end = std::strstr(unread, kLineEnd);
  if (line_end == nullptr) return std::nullopt;
  const std::string_view line(unread, static_cast<std::size_t>(line_end - unread));
  buffer->cursor += static_cast<uint32_t>(line.size() + std::strlen(kLineEnd));
  return line;
}

QNMemBuffer *fnQN_MemBuffer_New(uint32_t capacity) {
  qn::Owned<QNMemBuffer> buffer(qn::NewRecord<QNMemBuffer>());
  if (buffer == nullptr) return nullptr;
  buffer->data = static_cast<char *>(qn::AllocateZeroed(size_t{capacity} + kSpareBytes));
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
  if (buffer == nullptr || count < 0 || (bytes == nullptr && count > 0)) return;
  const auto size = static_cast<uint32_t>(count);
  if (count > 0 && IsOwnStorage(buffer, bytes)) {
    const qn::Owned<char> copy(qn::CopyText({static_cast<const char *>(bytes), size}));
    if (copy != nullptr) Append(buffer, copy.get(), size);
    return;
  }
  Append(buffer, bytes, size);
}

int32_t fnQN_MemBuffer_Read(QNMemBuffer *buffer, void *destination, int32_t count) {
  if (buffer == nullptr || count < 0 || (destination == nullptr && count > 0)) return -1;
  const uint32_t taken = std::min(static_cast<uint32_t>(count), qn::Unread(buffer));
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
  const char *unread = buffer->data + buffer->cursor;
  const char *match = fnQN_STRSTR(unread, delimiter);
  if (match == nullptr) return nullptr;
  const std::string_view item(unread, static_cast<std::size_t>(match - unread));
  char *copy = qn::CopyText(item);
  if (copy == nullptr) return nullptr;
  buffer->cursor += static_cast<uint32_t>(item.size() + fnQN_STRLEN(delimiter));
  return copy;
}

int32_t fnQN_MemBuffer_Printf(QNMemBuffer *buffer, const char *format, ...) {
  if (format == nullptr) return -1;
  // The formatter writes every byte that is read, so the area comes uncleared.
  const qn::Owned<char> scratch(static_cast<char *>(fnQNStack_ReMalloc(nullptr, kFormattedBytes)));
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
  qn::WriteText(buffer, name);
  qn::WriteText(buffer, value);
  qn::WriteText(buffer, kLineEnd);
}

char *fnQN_MemBufer_ClearContent(QNMemBuffer *buffer) {
  if (buffer == nullptr) return nullptr;
  buffer->length = 0;
  buffer->cursor = 0;
  buffer->total = 0;
  std::memset(buffer->data, 0, buffer->capacity);
  buffer->data[0] = '\0';
  return buffer->data;
}
