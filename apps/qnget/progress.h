// SPDX-License-Identifier: MIT
// The progress line of a transfer on a terminal: bytes, percent, rate, first of
// what is sent and then of what comes.
#ifndef QNGET_PROGRESS_H
#define QNGET_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace qnget {

class Progress {
 public:
  /** Writes nothing at all unless `shown`. */
  explicit Progress(bool shown) : shown_(shown) {}

  /** Ends the line if there is one. */
  ~Progress();

  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  /**
   * So many bytes of the request's body have gone. May be called as often as one
   * likes; a smaller number than before is another try. The line ends with the
   * last byte.
   */
  void Upload(int64_t sent, int64_t expected);

  /** The body begins; `expected` bytes, -1 if that is not known. */
  void Start(int64_t expected);

  /** So many bytes have come; writes at most ten times a second. */
  void Update(int64_t received);

  /** Writes the last count and ends the line, so that messages stand on lines of their own. */
  void Finish();

 private:
  using Clock = std::chrono::steady_clock;

  void Begin(bool sending, int64_t expected);
  void Count(int64_t bytes);
  void Write();

  bool shown_;
  bool sending_ = false;
  bool line_open_ = false;
  bool current_ = true;  // what is written is the last count
  int64_t expected_ = -1;
  int64_t count_ = 0;
  size_t width_ = 0;
  Clock::time_point begin_;
  Clock::time_point written_;
};

/** The line's text; `seconds` since the body began. */
std::string ProgressText(int64_t count, int64_t expected, double seconds);

}  // namespace qnget

#endif
