// The tables of the exchange benchmark, as markdown: what each contender cost,
// what the library costs over its peers, and which goals that meets.
#ifndef BENCH_EXCHANGE_REPORT_H
#define BENCH_EXCHANGE_REPORT_H

#include <cstdio>
#include <string>
#include <vector>

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

}  // namespace bench

#endif
