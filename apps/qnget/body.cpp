// SPDX-License-Identifier: MIT
// RFC 9112, section 6.3: a transfer coding goes before a length, and what has
// neither ends with the connection.
#include "body.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "visible.h"

namespace qnget {
namespace {

using Kind = BodyFrame::Kind;

constexpr int kNoContent = 204;
constexpr int kNotModified = 304;
constexpr uint64_t kLongestLength = INT64_MAX;
constexpr size_t kLongestShown = 60;  // of a peer's word in a message

std::string Shown(const std::string &word) { return Visible(word).substr(0, kLongestShown); }

bool IsNumber(const std::string &text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

// The codings but "identity", which is none.
std::vector<std::string> CodingsOf(const AnswerHead &head) {
  std::vector<std::string> codings = head.Members("Transfer-Encoding");
  std::erase_if(codings, [](const auto &word) { return EqualIgnoringCase(word, "identity"); });
  return codings;
}

BodyFrame Unusable(std::string problem) {
  BodyFrame frame;
  frame.problem = std::move(problem);
  return frame;
}

BodyFrame FrameOfCodings(const std::vector<std::string> &codings) {
  if (codings.size() == 1 && EqualIgnoringCase(codings[0], "chunked")) return {Kind::kChunked};
  std::string all = codings.front();
  for (size_t i = 1; i < codings.size(); ++i) all += ", " + codings[i];
  return Unusable("has the transfer coding '" + Shown(all) + "', and qnget knows chunked alone");
}

BodyFrame FrameOfLengths(const std::vector<std::string> &lengths) {
  if (lengths.empty() || !std::all_of(lengths.begin(), lengths.end(), IsNumber)) {
    return Unusable("has a Content-Length that is no number");
  }
  const auto number = [](const std::string &text) {
    return ReadDecimal(text).value_or(UINT64_MAX);  // IsNumber() leaves those that are too large
  };
  const uint64_t length = number(lengths.front());
  if (!std::all_of(lengths.begin(), lengths.end(),
                   [&](const std::string &other) { return number(other) == length; })) {
    return Unusable("has Content-Length lines that contradict each other");
  }
  if (length <= kLongestLength) return {Kind::kLength, length};
  BodyFrame frame;
  frame.notice = "a length of " + Shown(lengths.front()) + " bytes cannot be checked";
  return frame;
}

}  // namespace

BodyFrame FrameOf(const AnswerHead &head, bool asked_for_head) {
  if (asked_for_head || head.status == kNoContent || head.status == kNotModified) {
    return {Kind::kNone};
  }
  const std::vector<std::string> codings = CodingsOf(head);
  if (!codings.empty()) return FrameOfCodings(codings);
  if (!head.First("Content-Length")) return {Kind::kUntilClose};
  return FrameOfLengths(head.Members("Content-Length"));
}

BodyDecoder::BodyDecoder(const BodyFrame &frame) : kind_(frame.kind), length_(frame.length) {}

std::string_view BodyDecoder::Take(std::string_view &bytes) {
  std::string_view content;
  if (kind_ == Kind::kChunked) {
    content = chunks_.Take(bytes);
  } else if (kind_ != Kind::kNone) {
    const uint64_t wanted = kind_ == Kind::kLength ? length_ - count_ : bytes.size();
    content = bytes.substr(0, static_cast<std::size_t>(std::min<uint64_t>(wanted, bytes.size())));
    bytes.remove_prefix(content.size());
  }
  count_ += content.size();
  return content;
}

bool BodyDecoder::Done() const {
  switch (kind_) {
    case Kind::kNone:
      return true;
    case Kind::kLength:
      return count_ == length_;
    case Kind::kChunked:
      return chunks_.Done();
    default:
      return false;
  }
}

std::string BodyDecoder::Cut() const {
  if (kind_ == Kind::kUntilClose || Done()) return {};
  const std::string count = "after " + std::to_string(count_);
  if (kind_ == Kind::kLength) return count + " of " + std::to_string(length_) + " bytes";
  return count + " bytes, before its last chunk";
}

}  // namespace qnget
