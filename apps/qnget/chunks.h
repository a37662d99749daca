// SPDX-License-Identifier: MIT
// The chunked transfer coding (RFC 9112, section 7.1), decoded as it comes.
// Extensions and trailers are read over. All lines are bounded.
#ifndef QNGET_CHUNKS_H
#define QNGET_CHUNKS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qnget {

class ChunkDecoder {
 public:
  /**
   * Takes coded bytes off the front of `bytes` and gives the next content in
   * them, none if they hold none. Takes nothing once it is Done() or has a
   * Problem().
   */
  std::string_view Take(std::string_view &bytes);

  /** The last chunk and its trailers have come. */
  bool Done() const { return step_ == Step::kDone; }

  /** What is wrong with the coding; empty for nothing. */
  const std::string &Problem() const { return problem_; }

 private:
  enum class Step { kSize, kContent, kContentEnd, kTrailer, kDone, kBroken };

  std::string_view TakeContent(std::string_view &bytes);
  std::optional<std::string> TakeLine(std::string_view &bytes);
  size_t LongestLine() const;
  void ReadLine(std::string_view line);
  void ReadSize(std::string_view line);
  void Break(const char *problem);

  Step step_ = Step::kSize;
  uint64_t left_ = 0;  // of the chunk's content
  std::string line_;   // as far as it has come
  size_t trailers_ = 0;
  std::string problem_;
};

}  // namespace qnget

#endif
