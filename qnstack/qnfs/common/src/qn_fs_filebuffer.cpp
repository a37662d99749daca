// SPDX-License-Identifier: MIT
// Writing and reading the typed file buffer, field by field, for record files,
// the settings, the cache index and applications.
#include "qnstack/qn_fs_filebuffer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "qn_fs_file_image.h"
#include "qn_length.h"
#include "qn_owned.h"
#include "qn_wrapped_sum.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr char kLineTag = '\n';
constexpr std::size_t kDateTimeBytes = 35;  // scratch for a date and time, terminated
constexpr std::size_t kDateTimeRead = 39;   // characters of a field that are looked at
constexpr std::size_t kTokenBytes = 15;     // scratch for one of its numbers, terminated
constexpr std::size_t kNumberBytes = 15;    // room for any number of 32 bits
constexpr int32_t kDecimal = 10;
constexpr int32_t kReadFailure = 1;

// Whether a field of `length` bytes fits; one that does not closes the buffer.
bool Accept(QNFSBuffer *record, int32_t length) {
  if (int64_t{record->pos} + length <= record->last) return true;
  record->last = record->pos;
  return false;
}

void Advance(QNFSBuffer *record, std::size_t bytes) {
  record->pos = qn::WrappedSum(record->pos, static_cast<int64_t>(bytes));
}

// Copies a field behind the position. The storage is zero-filled, so the zero
// byte that ends the field stands there already.
void Put(QNFSBuffer *record, const void *bytes, int32_t length, bool terminated) {
  if (bytes == nullptr) length = 0;
  if (record == nullptr || record->data == nullptr || length < 0 || !Accept(record, length)) return;
  const auto size = static_cast<std::size_t>(length);
  if (size > 0) std::memcpy(record->data + (int64_t{record->pos} + 1), bytes, size);
  Advance(record, size + (terminated ? 1 : 0));
}

// The bytes of the buffer that are still to be read.
std::string_view Rest(const QNFSBuffer *record) {
  if (record->data == nullptr || record->pos < -1 || record->pos >= record->last) return "";
  const int64_t length = int64_t{record->last} - record->pos;
  return {record->data + (record->pos + 1), static_cast<std::size_t>(length)};
}

// Steps over `length` bytes and the byte behind them, and over a line tag
// behind that.
void StepOver(QNFSBuffer *record, std::string_view rest, std::size_t length) {
  const bool tagged = length + 1 < rest.size() && rest[length + 1] == kLineTag;
  Advance(record, length + (tagged ? 2 : 1));
}

// The number that a text begins with, as a part of a date. Of the text 14 characters
// count, of the value the low 16 bits.
uint32_t DateNumber(std::string_view text) {
  std::array<char, kTokenBytes> scratch = {};
  std::memcpy(scratch.data(), text.data(), std::min(text.size(), scratch.size() - 1));
  return static_cast<uint16_t>(fnQN_ATOI(scratch.data()));
}

// Reads seven numbers with ':' between them. A ':' at the start of a token does
// not end it.
QNTime ParseDateTime(std::string_view text) {
  QNTime time = {};
  uint32_t *const fields[] = {&time.year, &time.month,  &time.day,
                              &time.hour, &time.minute, &time.second};
  constexpr std::size_t kSeparators = std::size(fields);
  std::size_t separators = 0;
  std::size_t token = 0;
  const auto number = [&] { return DateNumber({text.data() + token, text.size() - token}); };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != ':' || i == token || ++separators > kSeparators) continue;
    *fields[separators - 1] = number();
    token = i + 1;
  }
  if (separators == kSeparators) time.extra = number();
  return time;
}

}  // namespace

void fnQNFS_Init_Buffer(QNFSBuffer *record, uint32_t capacity) {
  if (record == nullptr) return;
  record->pos = -1;
  record->last = static_cast<int32_t>(capacity - 1);
  if (record->data != nullptr) fnQN_MEMSET(record->data, 0, capacity);
}

void fnQNFS_Buffer_WriteString(QNFSBuffer *record, const char *string, int32_t length) {
  Put(record, string, length, fnQN_STRCMP(string, "\n") != 0);
}

void fnQNFS_Buffer_WriteMem(QNFSBuffer *record, const void *block, int32_t length) {
  Put(record, block, length, true);
}

void fnQNFS_Buffer_WriteInteger(QNFSBuffer *record, int32_t value) {
  std::array<char, kNumberBytes> text;
  fnQNRTL_itoa(value, text.data(), kDecimal);
  Put(record, text.data(), static_cast<int32_t>(fnQN_STRLEN(text.data())), true);
}

void fnQNFS_Buffer_WriteLong(QNFSBuffer *record, int32_t value) {
  fnQNFS_Buffer_WriteInteger(record, value);
}

void fnQNFS_Buffer_WriteDateTime(QNFSBuffer *record, QNTime time) {
  std::array<char, kDateTimeBytes> text;
  const int length =
      std::snprintf(text.data(), text.size(), "%u:%u:%u:%u:%u:%u:%u", time.year, time.month,
                    time.day, time.hour, time.minute, time.second, time.extra);
  Put(record, text.data(), std::min(length, static_cast<int>(text.size()) - 1), true);
}

void fnQNFS_Buffer_WriteLineTag(QNFSBuffer *record) { fnQNFS_Buffer_WriteString(record, "\n", 1); }

void fnQNFS_Buffer_WriteLine(QNFSBuffer *record, const char *string) {
  if (string == nullptr) return;
  qn::WriteTextField(record, string);
  fnQNFS_Buffer_WriteLineTag(record);
}

char *fnQNFS_Buffer_ReadString(QNFSBuffer *record) {
  if (record == nullptr) return nullptr;
  const std::string_view rest = Rest(record);
  // Where no zero byte ends the field, the buffer's last byte does. It belongs to
  // the field too, unless it would be the only one.
  const std::size_t zero = rest.find('\0');
  const std::size_t before_end = std::min(zero, rest.empty() ? 0 : rest.size() - 1);
  const std::size_t length =
      zero == std::string_view::npos && before_end > 0 ? rest.size() : before_end;
  char *field = qn::CopyText({rest.data(), length});
  if (field != nullptr) StepOver(record, rest, before_end);
  return field;
}

int32_t fnQNFS_Buffer_ReadInteger(QNFSBuffer *record, int32_t *status) {
  const qn::Owned<char> field(fnQNFS_Buffer_ReadString(record));
  if (status != nullptr) *status = field == nullptr ? -1 : 0;
  return field == nullptr ? kReadFailure : fnQN_ATOI(field.get());
}

int32_t fnQNFS_Buffer_ReadLong(QNFSBuffer *record, int32_t *status) {
  return fnQNFS_Buffer_ReadInteger(record, status);
}

QNTime fnQNFS_Buffer_ReadDateTime(QNFSBuffer *record, int32_t *flag) {
  // A NULL record counts as valid, a field that cannot be read does not.
  bool valid = record == nullptr;
  QNTime time = {};
  const qn::Owned<char> field(fnQNFS_Buffer_ReadString(record));
  if (field != nullptr) {
    time = ParseDateTime({field.get(), qn::LengthWithin(field.get(), kDateTimeRead)});
    valid = fnQNFS_Time_IsValid(time.year, time.month, time.day, time.hour, time.minute,
                                time.second) == 1;
  }
  if (flag != nullptr) *flag = valid ? 1 : 0;
  return time;
}

void fnQNFS_Buffer_ReadMem(QNFSBuffer *record, int32_t length, void *destination) {
  if (record == nullptr || length < 0 || (destination == nullptr && length > 0)) return;
  const auto size = static_cast<std::size_t>(length);
  const std::string_view rest = Rest(record);
  const std::size_t held = std::min(size, rest.size());
  if (size > 0) {
    fnQN_MEMCPY(destination, rest.data(), held);
    fnQN_MEMSET(static_cast<char *>(destination) + held, 0, size - held);
  }
  StepOver(record, rest, size);
}

int32_t fnQNFS_Buffer_IsEnd(const QNFSBuffer *record) {
  return record != nullptr && record->pos >= record->last ? 1 : 0;
}
