// The growable byte buffer that holds requests and answers. Owns nothing but
// what it allocates for its callers.
#include "qnstack/qn_stack_membuffer.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <limits>

#include "qn_owned.h"
#include "qn_stack_membuffer_internal.h"
#include "qnstack/qn_snprintf.h"
#include "qnstack/qn_stack_mem.h"

namespace {

constexpr uint64_t kSpareBytes = 10;  // behind the capacity; they hold the terminator
constexpr uint64_t kMostSlack = uint64_t{1024} * 1024;  // a block doubles up to this much
constexpr uint32_t kFormattedBytes = 2048;  // bound of one formatted piece with its terminator
constexpr char kLineEnd[] = "\r\n";

// What stands behind the public record. The storage is a part of a block that
// may be larger: bytes that were read are left behind by moving `data` up, and
// growth is mostly a matter of counting.
struct Buffer {
  QNMemBuffer face;
  char *block;
  std::size_t block_bytes;
};

Buffer *Behind(QNMemBuffer *buffer) { return reinterpret_cast<Buffer *>(buffer); }

// Whether the block reaches `capacity` and the spare bytes from `data` on.
bool Holds(const Buffer &buffer, const char *data, uint64_t capacity) {
  const auto left_behind = static_cast<std::size_t>(data - buffer.block);
  return buffer.block_bytes - left_behind >= capacity + kSpareBytes;
}

// Lets the unread bytes be the first of the storage again. They stay where
// they are as long as the block has room for the capacity from there on.
void Compact(Buffer *buffer) {
  QNMemBuffer &face = buffer->face;
  if (face.cursor == 0) return;
  const uint32_t unread = qn::Unread(&face);
  char *first = face.data + face.cursor;
  if (unread == 0 || !Holds(*buffer, first, face.capacity)) {
    if (unread > 0) std::memmove(buffer->block, first, unread);
    first = buffer->block;
  }
  face.data = first;
  face.data[unread] = '\0';
  face.length = unread;
  face.cursor = 0;
}

// Makes the block reach `capacity` from the first byte of the storage on.
bool Widen(Buffer *buffer, uint64_t capacity, uint64_t slack) {
  QNMemBuffer &face = buffer->face;
  if (Holds(*buffer, face.data, capacity)) return true;
  if (face.data != buffer->block) {
    std::memmove(buffer->block, face.data, face.length + std::size_t{1});
    face.data = buffer->block;
    if (Holds(*buffer, face.data, capacity)) return true;
  }
  const uint64_t bytes =
      std::min<uint64_t>(capacity + kSpareBytes + slack, std::numeric_limits<uint32_t>::max());
  void *grown = fnQNStack_ReMalloc(buffer->block, static_cast<uint32_t>(bytes));
  if (grown == nullptr) return false;
  buffer->block = static_cast<char *>(grown);
  buffer->block_bytes = static_cast<std::size_t>(bytes);
  face.data = buffer->block;
  return true;
}

// By how much the capacity grows when `count` bytes follow `held` ones: by all
// of them if they do not fit, else by none.
uint32_t Growth(const QNMemBuffer &face, uint32_t held, uint32_t count) {
  return face.capacity - held >= count ? 0 : count;
}

// Makes room for `count` more bytes; the capacity grows by exactly that.
bool Reserve(Buffer *buffer, uint32_t count) {
  const uint32_t growth = Growth(buffer->face, buffer->face.length, count);
  if (growth == 0) return true;
  const uint64_t capacity = uint64_t{buffer->face.capacity} + growth;
  if (capacity > std::numeric_limits<uint32_t>::max() - kSpareBytes) return false;
  if (!Widen(buffer, capacity, std::min(capacity, kMostSlack))) return false;
  buffer->face.capacity += growth;
  return true;
}

// Whether `bytes` lie in the buffer's own block, which is about to move.
bool IsOwnStorage(const Buffer &buffer, const void *bytes) {
  const auto *byte = static_cast<const char *>(bytes);
  return !std::less<>()(byte, buffer.block) &&
         std::less<>()(byte, buffer.block + buffer.block_bytes);
}

// Counts `count` bytes in that stand behind those held and have room there.
void CountIn(QNMemBuffer *face, uint32_t count) {
  face->length += count;
  face->data[face->length] = '\0';
  face->total += count;
}

void Append(Buffer *buffer, const void *bytes, uint32_t count) {
  Compact(buffer);
  if (count == 0 || !Reserve(buffer, count)) return;
  std::memcpy(buffer->face.data + buffer->face.length, bytes, count);
  CountIn(&buffer->face, count);
}

std::size_t SizeOf(std::initializer_list<std::string_view> texts) {
  std::size_t size = 0;
  for (const std::string_view text : texts) size += text.size();
  return size;
}

// Appends texts, none of them of the buffer itself, if the storage has room for
// all; false, with nothing appended, if it has not.
bool AppendWithoutGrowth(Buffer *buffer, std::initializer_list<std::string_view> texts) {
  if (buffer == nullptr) return false;
  const std::size_t size = SizeOf(texts);
  Compact(buffer);
  QNMemBuffer &face = buffer->face;
  if (size > face.capacity - face.length) return false;
  char *end = face.data + face.length;
  for (const std::string_view text : texts) {
    std::memcpy(end, text.data(), text.size());
    end += text.size();
  }
  CountIn(&face, static_cast<uint32_t>(size));
  return true;
}

// Where a delimiter of two characters, as line ends are, first stands in a
// string; null if nowhere. Lines are short, and a general search would spend
// most of its time on getting ready.
const char *FindPair(const char *text, const char *pair) {
  const char *first = std::strchr(text, pair[0]);
  while (first != nullptr && first[1] != pair[1]) first = std::strchr(first + 1, pair[0]);
  return first;
}

}  // namespace

uint32_t qn::Unread(const QNMemBuffer *buffer) { return buffer->length - buffer->cursor; }

void qn::WriteText(QNMemBuffer *buffer, std::string_view text) {
  if (text.size() > std::numeric_limits<int32_t>::max()) return;
  fnQN_MemBuffer_Write(buffer, text.data(), static_cast<int32_t>(text.size()));
}

void qn::WriteTexts(QNMemBuffer *buffer, std::initializer_list<std::string_view> texts) {
  if (AppendWithoutGrowth(Behind(buffer), texts)) return;
  for (const std::string_view text : texts) WriteText(buffer, text);
}

void qn::WritePiece(QNMemBuffer *buffer, std::initializer_list<std::string_view> texts) {
  std::array<char, kFormattedBytes - 1> piece;
  if (SizeOf(texts) <= piece.size() && AppendWithoutGrowth(Behind(buffer), texts)) return;
  std::size_t size = 0;
  for (const std::string_view text : texts) {
    const std::size_t taken = std::min(text.size(), piece.size() - size);
    std::memcpy(piece.data() + size, text.data(), taken);
    size += taken;
  }
  WriteText(buffer, {piece.data(), size});
}

std::optional<std::string_view> qn::TakeLine(QNMemBuffer *buffer) {
  const char *unread = buffer->data + buffer->cursor;
  const char *line_end = FindPair(unread, kLineEnd);
  if (line_end == nullptr) return std::nullopt;
  const std::string_view line(unread, static_cast<std::size_t>(line_end - unread));
  buffer->cursor += static_cast<uint32_t>(line.size() + std::strlen(kLineEnd));
  return line;
}

char *qn::WriteArea(QNMemBuffer *buffer, uint32_t count) {
  const Buffer &behind = *Behind(buffer);
  const uint32_t unread = Unread(buffer);
  // With nothing unread the front of the block is free again.
  char *first = unread == 0 ? behind.block : buffer->data + buffer->cursor;
  const uint64_t growth = Growth(*buffer, unread, count);
  return Holds(behind, first, buffer->capacity + growth) ? first + unread : nullptr;
}

void qn::Written(QNMemBuffer *buffer, char *area, uint32_t count) {
  buffer->length = Unread(buffer);
  buffer->cursor = 0;
  buffer->data = area - buffer->length;
  buffer->capacity += Growth(*buffer, buffer->length, count);
  CountIn(buffer, count);
}

void qn::ExpectAnswer(QNMemBuffer *buffer) {
  constexpr std::size_t kAnswerBytes = 64 * std::size_t{1024};
  // Without the room everything works as well, only slower.
  if (buffer->capacity < kAnswerBytes) Widen(Behind(buffer), kAnswerBytes, 0);
}

std::span<const char> qn::Block(const QNMemBuffer *buffer) {
  const auto *behind = reinterpret_cast<const Buffer *>(buffer);
  return {behind->block, behind->block_bytes};
}

QNMemBuffer *fnQN_MemBuffer_New(uint32_t capacity) {
  qn::Owned<Buffer> buffer(qn::NewRecord<Buffer>());
  if (buffer == nullptr) return nullptr;
  const uint64_t bytes = capacity + kSpareBytes;
  buffer->block = static_cast<char *>(qn::AllocateZeroed(bytes));
  if (buffer->block == nullptr) return nullptr;
  buffer->block_bytes = static_cast<std::size_t>(bytes);
  buffer->face.data = buffer->block;
  buffer->face.capacity = capacity;
  return &buffer.release()->face;
}

void fnQN_MemBuffer_Free(QNMemBuffer *buffer) {
  if (buffer == nullptr) return;
  fnQN_Free(&Behind(buffer)->block);
  fnQN_Free(&buffer);
}

void fnQN_MemBuffer_Write(QNMemBuffer *buffer, const void *bytes, int32_t count) {
  if (buffer == nullptr || count < 0 || (bytes == nullptr && count > 0)) return;
  const auto size = static_cast<uint32_t>(count);
  if (count > 0 && IsOwnStorage(*Behind(buffer), bytes)) {
    const qn::Owned<char> copy(qn::CopyText({static_cast<const char *>(bytes), size}));
    if (copy != nullptr) Append(Behind(buffer), copy.get(), size);
    return;
  }
  Append(Behind(buffer), bytes, size);
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
  const char *unread = buffer->data + buffer->cursor;
  const std::size_t length = std::strlen(delimiter);
  const char *match = length == 2 ? FindPair(unread, delimiter) : std::strstr(unread, delimiter);
  if (match == nullptr) return nullptr;
  const std::string_view item(unread, static_cast<std::size_t>(match - unread));
  char *copy = qn::CopyText(item);
  if (copy == nullptr) return nullptr;
  buffer->cursor += static_cast<uint32_t>(item.size() + length);
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
  buffer->data = Behind(buffer)->block;
  std::memset(buffer->data, 0, buffer->capacity);
  buffer->data[0] = '\0';
  return buffer->data;
}
