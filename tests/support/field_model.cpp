// SPDX-License-Identifier: MIT
#include "support/field_model.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace qntest {

int32_t PlainAtoi(const std::string &text) {
  return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

// Of the first 39 characters: seven numbers, each ended by a ':' or the end. A
// ':' where a number would begin belongs to it. With too few or too many of
// them the last does not count.
QNTime PlainDateTime(const std::string &field) {
  constexpr std::size_t kLookedAt = 39;
  constexpr std::size_t kTokenLength = 14;
  constexpr std::size_t kFields = 7;
  std::vector<std::string> tokens(1);
  for (const char byte : field.substr(0, kLookedAt)) {
    if (byte == ':' && !tokens.back().empty()) {
      tokens.emplace_back();
    } else {
      tokens.back() += byte;
    }
  }
  QNTime time = {};
  uint32_t *const fields[kFields] = {&time.year,   &time.month,  &time.day,  &time.hour,
                                     &time.minute, &time.second, &time.extra};
  for (std::size_t i = 0; i < std::min(tokens.size(), kFields); ++i) {
    const bool is_last = i + 1 == tokens.size();
    if (i < kFields - 1 ? is_last : !is_last) break;
    *fields[i] = static_cast<uint16_t>(PlainAtoi(tokens[i].substr(0, kTokenLength)));
  }
  return time;
}

void FieldReader::StepOver(std::size_t bytes) {
  next_ += bytes;
  if (next_ < content_.size() && content_[next_] == '\n') ++next_;
}

std::string FieldReader::ReadString() {
  const std::string rest = Rest();
  const std::size_t zero = rest.find('\0');
  if (zero != std::string::npos) {
    StepOver(zero + 1);
    return rest.substr(0, zero);
  }
  StepOver(std::max<std::size_t>(rest.size(), 1));
  return rest.size() > 1 ? rest : "";
}

std::string FieldReader::ReadMem(std::size_t length) {
  std::string bytes = Rest().substr(0, length);
  bytes.resize(length, '\0');
  StepOver(length + 1);
  return bytes;
}

void FieldWriter::Put(const std::string &bytes, bool terminated) {
  const int64_t end = int64_t{position_} + static_cast<int64_t>(bytes.size());
  if (end > last_) {
    last_ = position_;
    return;
  }
  position_ = static_cast<int32_t>(end) + (terminated ? 1 : 0);
  image_ += bytes;
  if (terminated) image_ += '\0';
  // One zero byte may stand behind the capacity.
  image_.resize(std::min<std::size_t>(image_.size(), std::size_t{capacity_} + 1));
}

}  // namespace qntest
