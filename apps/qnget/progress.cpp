// SPDX-License-Identifier: MIT
// The line is overwritten in place with a carriage return and padded with
// blanks, so that any terminal shows it.
#include "progress.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace qnget {
namespace {

constexpr std::chrono::milliseconds kBetweenUpdates{100};
constexpr double kShortestTime = 0.001;  // no rate is told from less

std::string SizeText(double bytes) {
  constexpr std::array<const char *, 4> kUnits{"B", "kB", "MB", "GB"};
  size_t unit = 0;
  double size = 1;
  // From 999.95 on, in whole numbers that every processor compares alike.
  while (bytes * 20 >= size * 19999 && unit + 1 < kUnits.size()) {
    size *= 1000;
    ++unit;
  }
  char text[32];
  snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes / size, kUnits[unit]);
  return text;
}

}  // namespace

std::string ProgressText(int64_t count, int64_t expected, double seconds) {
  const auto bytes = static_cast<double>(count);
  std::string text = SizeText(bytes);
  if (expected > 0) {
    const auto whole = static_cast<double>(expected);
    const double percent = std::min(100.0, 100.0 * bytes / whole);
    text += " of " + SizeText(whole) + ", " + std::to_string(static_cast<int>(percent)) + " %";
  }
  return text + ", " + SizeText(bytes / std::max(seconds, kShortestTime)) + "/s";
}

Progress::~Progress() {
  if (line_open_) fputc('\n', stderr);
}

void Progress::Upload(int64_t sent, int64_t expected) {
  if (!sending_ || sent < count_) Begin(true, expected);
  if (sent == count_) return;
  Count(sent);
  if (sent >= expected) Finish();
}

void Progress::Start(int64_t expected) {
  Finish();
  Begin(false, expected);
}

void Progress::Update(int64_t received) { Count(received); }

void Progress::Finish() {
  if (!line_open_) return;
  if (!current_) Write();
  fputc('\n', stderr);
  line_open_ = false;
  width_ = 0;
}

void Progress::Begin(bool sending, int64_t expected) {
  sending_ = sending;
  expected_ = expected;
  count_ = 0;
  begin_ = Clock::now();
}

void Progress::Count(int64_t bytes) {
  count_ = bytes;
  current_ = false;
  if (shown_ && (!line_open_ || Clock::now() - written_ >= kBetweenUpdates)) Write();
}

void Progress::Write() {
  const std::chrono::duration<double> elapsed = Clock::now() - begin_;
  const std::string counts = ProgressText(count_, expected_, elapsed.count());
  std::string text = sending_ ? "sent " + counts : counts;
  const size_t width = text.size();
  if (width < width_) text.append(width_ - width, ' ');
  width_ = width;
  fprintf(stderr, "\r%s", text.c_str());
  fflush(stderr);
  line_open_ = true;
  current_ = true;
  written_ = Clock::now();
}

}  // namespace qnget
