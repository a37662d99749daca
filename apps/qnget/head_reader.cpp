// SPDX-License-Identifier: MIT
#include "head_reader.h"

#include <algorithm>

#include "answer_head.h"

namespace qnget {
namespace {

constexpr size_t kMostBytes = 262144;
constexpr std::string_view kProtocol = "HTTP/";

}  // namespace

void HeadReader::Take(std::string_view &bytes) {
  while (!bytes.empty() && !complete_) {
    const size_t end = bytes.find('\n');
    const std::string_view piece = bytes.substr(0, end == std::string_view::npos ? end : end + 1);
    text_ += piece;
    bytes.remove_prefix(piece.size());
    if (end == std::string_view::npos) return;
    const std::string_view line = std::string_view(text_).substr(line_begin_);
    complete_ = line == "\r\n" || line == "\n";
    line_begin_ = text_.size();
  }
}

bool HeadReader::IsNoHead() const {
  const size_t count = std::min(text_.size(), kProtocol.size());
  const std::string_view begin = std::string_view(text_).substr(0, count);
  return !EqualIgnoringCase(begin, kProtocol.substr(0, count));
}

bool HeadReader::IsTooLong() const { return before_ + text_.size() > kMostBytes; }

void HeadReader::Restart() {
  const size_t before = before_ + text_.size();
  *this = HeadReader();
  before_ = before;
}

}  // namespace qnget
