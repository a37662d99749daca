// SPDX-License-Identifier: MIT
// The format of typed files in the plainest way: fields out of bytes, and
// bytes out of fields, for tests to hold the typed file buffer against.
#ifndef QNSTACK_TESTS_SUPPORT_FIELD_MODEL_H
#define QNSTACK_TESTS_SUPPORT_FIELD_MODEL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "qnstack/qn_fs_comm_tools.h"

namespace qntest {

// The number at the front of a text, as C's `atoi` gives it here.
int32_t PlainAtoi(const std::string &text);

// The date and time that a field holds.
QNTime PlainDateTime(const std::string &field);

class FieldReader {
 public:
  explicit FieldReader(std::string content) : content_(std::move(content)) {}

  std::string ReadString();
  std::string ReadMem(std::size_t length);

  // The index of the last byte read, -1 at first; goes on behind the end.
  int32_t Position() const { return static_cast<int32_t>(next_) - 1; }
  bool IsEnd() const { return next_ >= content_.size(); }

 private:
  std::string Rest() const { return next_ < content_.size() ? content_.substr(next_) : ""; }
  void StepOver(std::size_t bytes);

  std::string content_;
  std::size_t next_ = 0;
};

class FieldWriter {
 public:
  explicit FieldWriter(uint32_t capacity)
      : capacity_(capacity), last_(static_cast<int32_t>(capacity) - 1) {}

  // A field that does not fit closes the buffer.
  void Put(const std::string &bytes, bool terminated);

  // `pos` and `last` of the record.
  std::pair<int32_t, int32_t> Places() const { return {position_, last_}; }
  bool IsEnd() const { return position_ >= last_; }

  // What stands in the storage up to the position.
  const std::string &Image() const { return image_; }

  // The file that is saved of it: up to the position, which empty fields move too.
  std::string Saved() const {
    std::string file = image_;
    file.resize(static_cast<std::size_t>(position_ + 1), '\0');
    return file;
  }

 private:
  uint32_t capacity_;
  int32_t position_ = -1;
  int32_t last_;
  std::string image_;
};

}  // namespace qntest

#endif
