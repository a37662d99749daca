// SPDX-License-Identifier: MIT
// The tables of the exchange benchmark, as Markdown: what each contender cost,
// what the library costs beside its peers, and which goals that meets. The same
// rounds are recorded for the chart.
#ifndef BENCH_EXCHANGE_REPORT_H
#define BENCH_EXCHANGE_REPORT_H

#include <cstdio>
#include <string>
#include <vector>

#include "recording.h"
#include "rounds.h"

namespace bench {

inline constexpr char kLoop2K[] = "loop 2 KB";
inline constexpr char kLoop64K[] = "loop 64 KB";
inline constexpr char kCurlReused[] = "curl reused";
inline constexpr char kCurlFresh[] = "curl fresh";
inline constexpr char kLibrary4K[] = "qnstack 4 KB";
inline constexpr char kLibrary64K[] = "qnstack 64 KB";

struct Result {
  std::string exchange;
  bool through_proxy;
  std::vector<Series> series;  // of the contenders, in the same order for all
};

// Contenders that did not run have no column, and goals that need them no row.
void Report(std::FILE *out, const std::vector<Result> &results);

// Each round of each contender is a run "exchange/way/contender". A run of the
// library has its goal beside the loop as the counter "goal".
void Record(Recording &recording, const std::vector<Result> &results);

}  // namespace bench

#endif
