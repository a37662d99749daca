// SPDX-License-Identifier: MIT
// The memory buffer beside a plain model of what it promises. Who chooses the
// operations, a seeded generator or a fuzzer, is left open.
#ifndef QNSTACK_TESTS_SUPPORT_BUFFER_MODEL_H
#define QNSTACK_TESTS_SUPPORT_BUFFER_MODEL_H

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"
#include "support/chooser.h"

namespace qntest {

// What the buffer promises, in the plainest way.
class BufferModel {
 public:
  explicit BufferModel(uint32_t capacity) { fields_.capacity = capacity; }

  void Write(const std::string &bytes) {
    fields_.held.erase(0, fields_.cursor);
    fields_.cursor = 0;
    const auto count = static_cast<uint32_t>(bytes.size());
    if (fields_.capacity - fields_.held.size() < count) fields_.capacity += count;
    fields_.held += bytes;
    fields_.total += count;
  }

  std::string Read(uint32_t count) {
    const std::string taken = fields_.held.substr(fields_.cursor, count);
    fields_.cursor += static_cast<uint32_t>(taken.size());
    return taken;
  }

  void UnRead(uint32_t count) {
    if (count <= fields_.cursor) fields_.cursor -= count;
  }

  std::optional<std::string> ReadBySubstr(const std::string &delimiter) {
    const std::string text = fields_.held.substr(fields_.cursor).c_str();
    const size_t found = text.find(delimiter);
    if (found == std::string::npos) return std::nullopt;
    fields_.cursor += static_cast<uint32_t>(found + delimiter.size());
    return text.substr(0, found);
  }

  void Clear() {
    fields_.held.clear();
    fields_.cursor = 0;
    fields_.total = 0;
  }

  const BufferFields &Fields() const { return fields_; }

 private:
  BufferFields fields_;
};

// Does the same thing to a buffer and to its model, one chosen step at a time.
class BufferWalk {
 public:
  BufferWalk(Chooser chooser, uint32_t capacity)
      : below_(std::move(chooser)), buffer_(capacity), model_(capacity) {}

  void Step() {
    switch (Below(10)) {
      case 0:
      case 1:
        return Write();
      case 2:
        return WriteOwnPiece();
      case 3:
        return Below(4) == 0 ? TakeStorage() : ChangeRecord();
      case 4:
      case 5:
        return Read();
      case 6:
        return UnRead();
      case 7:
        return TakeItem();
      case 8:
        return WriteItem();
      default:
        return Below(20) == 0 ? Clear() : Print();
    }
  }

  bool Agrees() const { return buffer_.Fields() == model_.Fields(); }

  std::string Difference() const {
    return testing::PrintToString(buffer_.Fields()) + " instead of " +
           testing::PrintToString(model_.Fields());
  }

 private:
  uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(below_(bound)); }

  // Bytes over few letters, so that delimiters come up; now and then a zero.
  std::string Bytes() {
    std::string bytes(Below(40), ' ');
    for (char &byte : bytes) byte = Below(200) == 0 ? '\0' : "abc;\r\n"[Below(6)];
    return bytes;
  }

  std::string Text() {
    std::string text = Bytes();
    std::replace(text.begin(), text.end(), '\0', 'z');
    return text;
  }

  void Write() {
    const std::string bytes = Bytes();
    buffer_.Write(bytes);
    model_.Write(bytes);
  }

  // A piece of what is held, read or unread.
  void WriteOwnPiece() {
    const std::string held = buffer_.Fields().held;
    const uint32_t from = Below(static_cast<uint32_t>(held.size()) + 1);
    const std::string piece = held.substr(from, Below(40));
    fnQN_MemBuffer_Write(buffer_.get(), buffer_->data + from, static_cast<int32_t>(piece.size()));
    model_.Write(piece);
  }

  // What the owner of the record may do without the buffer noticing.
  void ChangeRecord() {
    if (Below(2) == 0) {
      buffer_.MoveRecord();
    } else if (buffer_->data != nullptr) {
      buffer_.ReplaceStorage();
    }
  }

  void TakeStorage() {
    const std::string &held = model_.Fields().held;
    EXPECT_EQ(buffer_.TakeStorage(), held.substr(model_.Fields().cursor));
    model_.Clear();
  }

  void Read() {
    const uint32_t count = Below(60);
    EXPECT_EQ(buffer_.Read(static_cast<int32_t>(count)), model_.Read(count));
  }

  void UnRead() {
    const uint32_t count = Below(20);
    EXPECT_EQ(fnQN_MemBuffer_unRead(buffer_.get(), static_cast<int32_t>(count)), 0);
    model_.UnRead(count);
  }

  void TakeItem() {
    const char *delimiter = Below(2) == 0 ? ";" : "\r\n";
    char *item = fnQN_MemBuffer_ReadBySubstr(buffer_.get(), delimiter);
    const std::optional<std::string> expected = model_.ReadBySubstr(delimiter);
    EXPECT_EQ(item == nullptr ? std::nullopt : std::optional<std::string>(item), expected);
    fnQN_Free(&item);
  }

  void WriteItem() {
    const std::string name = Text();
    const std::string value = Text();
    fnQN_MemBuffer_WriteItem(buffer_.get(), name.c_str(), value.c_str());
    model_.Write(name);
    model_.Write(value);
    model_.Write("\r\n");
  }

  void Print() {
    const std::string text = Text();
    const auto length = static_cast<int32_t>(text.size());
    EXPECT_EQ(fnQN_MemBuffer_Printf(buffer_.get(), "%s", text.c_str()), length);
    model_.Write(text);
  }

  void Clear() {
    fnQN_MemBufer_ClearContent(buffer_.get());
    model_.Clear();
  }

  Chooser below_;
  Buffer buffer_;
  BufferModel model_;
};

}  // namespace qntest

#endif
