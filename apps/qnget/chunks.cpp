// SPDX-License-Identifier: MIT
// Lines end with CR LF or LF alone. A size is hexadecimal; blanks and an
// extension may follow it, and nothing else.
#include "chunks.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace qnget {
namespace {

constexpr size_t kLongestSizeLine = 4096;
constexpr size_t kMostTrailers = 65536;  // bytes
constexpr uint64_t kLargestChunk = INT64_MAX;
constexpr int kHexadecimal = 16;

}  // namespace

std::string_view ChunkDecoder::Take(std::string_view &bytes) {
  while (!bytes.empty() && !Done() && problem_.empty()) {
    if (step_ == Step::kContent) return TakeContent(bytes);
    if (const std::optional<std::string> line = TakeLine(bytes)) ReadLine(*line);
  }
  return {};
}

std::string_view ChunkDecoder::TakeContent(std::string_view &bytes) {
  const auto taken = static_cast<std::size_t>(std::min<uint64_t>(left_, bytes.size()));
  const std::string_view content = bytes.substr(0, taken);
  bytes.remove_prefix(content.size());
  left_ -= content.size();
  if (left_ == 0) step_ = Step::kContentEnd;
  return content;
}

// The next line without its end, once all of it has come.
std::optional<std::string> ChunkDecoder::TakeLine(std::string_view &bytes) {
  const size_t end = bytes.find('\n');
  const std::string_view piece = bytes.substr(0, end);
  if (piece.size() > LongestLine() - line_.size()) {
    Break(step_ == Step::kContentEnd ? "a chunk is longer than its size"
                                     : "a line between its chunks is too long");
    return {};
  }
  line_ += piece;
  if (end == std::string_view::npos) {
    bytes = {};
    return {};
  }
  bytes.remove_prefix(end + 1);
  if (line_.ends_with('\r')) line_.pop_back();
  return std::exchange(line_, {});
}

size_t ChunkDecoder::LongestLine() const {
  if (step_ == Step::kContentEnd) return 1;
  return step_ == Step::kTrailer ? kMostTrailers - trailers_ : kLongestSizeLine;
}

void ChunkDecoder::ReadLine(std::string_view line) {
  if (step_ == Step::kSize) {
    ReadSize(line);
  } else if (step_ == Step::kTrailer) {
    trailers_ += line.size();
    if (line.empty()) step_ = Step::kDone;
  } else if (line.empty()) {
    step_ = Step::kSize;
  } else {
    Break("a chunk is longer than its size");
  }
}

void ChunkDecoder::ReadSize(std::string_view line) {
  const auto [rest, error] =
      std::from_chars(line.data(), line.data() + line.size(), left_, kHexadecimal);
  line.remove_prefix(static_cast<size_t>(rest - line.data()));
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  if (error != std::errc() || left_ > kLargestChunk || !(line.empty() || line.front() == ';')) {
    Break("the size of a chunk cannot be read");
    return;
  }
  step_ = left_ > 0 ? Step::kContent : Step::kTrailer;
}

void ChunkDecoder::Break(const char *problem) {
  problem_ = problem;
  step_ = Step::kBroken;
}

}  // namespace qnget
