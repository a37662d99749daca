// SPDX-License-Identifier: MIT
// Thousands of exchanges by chance in one process, with the cache beside them:
// every outcome is as foretold, and the process holds no more at the end than
// at the start. Prints a table of figures; the exit code says whether all held.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <random>

#include "qnstack/qnstack.h"
#include "soak_exchange.h"
#include "soak_figures.h"
#include "soak_origin.h"
#include "soak_plan.h"
#include "support/captured_output.h"
#include "support/failing_heap.h"
#include "support/loopback.h"
#include "support/scratch_folder.h"

#ifdef __SANITIZE_ADDRESS__
// Blocks that were given back stay resident for a while; here for a short one.
extern "C" const char *__asan_default_options();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char *__asan_default_options() { return "quarantine_size_mb=1"; }
#endif

// Of a log's place the library keeps a copy per call for good. Here the calls are
// counted and the copies left out, so that they do not pass for growth.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
static long log_places = 0;
extern "C" void __wrap_fnQNFS_printLog_param(const char *path, int32_t line);
extern "C" void __wrap_fnQNFS_printLog_param(const char * /*path*/, int32_t /*line*/) {
  ++log_places;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr double kMostGrowth = 256;  // KiB
constexpr int kMmapThreshold = 128 * 1024;
constexpr unsigned kRestarts = 20;

#ifdef __SANITIZE_ADDRESS__
constexpr bool kJudgesResidentMemory = false;  // it is the sanitizer's more than the library's
#else
constexpr bool kJudgesResidentMemory = true;
#endif

struct Options {
  unsigned exchanges = 50000;
  std::uint64_t seed = 0;
};

struct Findings {
  soak::Tally tally;
  soak::Window first;
  soak::Window last;
  int restarts = 0;
  int kept_blocks = 0;  // most that the library held with everything released
  long kept_bytes = 0;
  double seconds = 0;
};

// The library is started in a folder of its own.
void Start() {
  fnQNStack_Http_InitStack();
  fnQNStack_Cache_Init();
}

// Releases all that outlives an exchange. The counters of the cache drift when
// a URL is saved again; the next start counts anew.
void Release() {
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(nullptr, 0);
  fnQNStack_Cache_Free();
}

void Restart(const qntest::FailingHeap &heap, soak::Random &random, Findings &findings) {
  Release();
  ++findings.restarts;
  findings.kept_blocks = std::max(findings.kept_blocks, heap.LiveBlocks());
  findings.kept_bytes = std::max(findings.kept_bytes, heap.LiveBytes());
  Start();
  if (random() % 5 == 0) {
    fnQNStack_Cache_Delete_All();
    fnQNStack_Cache_Init();
    ++findings.tally.cache_clears;
  }
}

Findings Run(const Options &options) {
  const soak::Origin origin;
  const qntest::RefusingPort refusing;
  const qntest::ScratchFolder folder;
  const qntest::DiscardedOutput no_trace;
  const soak::Peers peers = {origin.port(), refusing.port()};
  const unsigned restart_every = std::max(1U, options.exchanges / kRestarts);
  soak::Random random(options.seed);
  soak::Figures figures(options.exchanges);
  Findings findings;

  const auto begin = std::chrono::steady_clock::now();
  const qntest::FailingHeap heap(qntest::FailingHeap::kCountOnly);
  fnQNFS_SetFullPath(folder.path().c_str());
  Start();
  for (unsigned i = 1; i <= options.exchanges; ++i) {
    if (random() % 10 < 2) {
      soak::RunDocument(random, peers, findings.tally);
    } else {
      soak::RunPlan(soak::DrawPlan(random), peers, findings.tally);
    }
    figures.Sample();
    if (i % restart_every == 0) Restart(heap, random, findings);
  }
  Release();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  findings.seconds = time.count();
  findings.first = figures.First();
  findings.last = figures.Last();
  return findings;
}

void PrintTable(const Options &options, const Findings &findings) {
  const soak::Tally &tally = findings.tally;
  std::printf("| Figure | Value |\n|---|---:|\n");
  std::printf("| Seed | %llu |\n", static_cast<unsigned long long>(options.seed));
  std::printf("| Exchanges | %u |\n", options.exchanges);
  std::printf("| Time | %.1f s |\n", findings.seconds);
  std::printf("| Exchanges that ended other than foretold | %ld |\n", tally.wrong);
  std::printf("| Exchanges that failed as foretold | %ld |\n", tally.failed);
  std::printf("| Redirects | %ld |\n", tally.redirects);
  std::printf("| Bytes of bodies | %ld |\n", tally.bytes);
  std::printf("| Answers from the cache | %ld |\n", tally.cache_hits);
  std::printf("| Entries of the cache without a body | %ld |\n", tally.cache_hits_without_body);
  std::printf("| Saves into the cache | %ld |\n", tally.cache_saves);
  std::printf("| Most entries of the cache | %ld |\n", tally.most_entries);
  std::printf("| Times the cache was emptied | %ld |\n", tally.cache_clears);
  std::printf("| Restarts of the library | %d |\n", findings.restarts);
  std::printf("| Blocks held over a restart | %d |\n", findings.kept_blocks);
  std::printf("| Bytes held over a restart | %ld |\n", findings.kept_bytes);
  std::printf("| Copies of log places that are kept by contract, left out here | %ld |\n",
              log_places);
  std::printf("| Mean resident memory of the second tenth | %.0f KiB |\n",
              findings.first.kilobytes);
  std::printf("| Mean resident memory of the last tenth | %.0f KiB |\n", findings.last.kilobytes);
  std::printf("| Descriptors in the second tenth | %d to %d |\n", findings.first.fewest_descriptors,
              findings.first.most_descriptors);
  std::printf("| Descriptors in the last tenth | %d to %d |\n", findings.last.fewest_descriptors,
              findings.last.most_descriptors);
}

// Says what did not hold; true if all did.
bool Holds(const Findings &findings) {
  const auto check = [](bool holds, const char *promise) {
    if (!holds) std::fprintf(stderr, "soak: %s\n", promise);
    return holds;
  };
  const double growth = findings.last.kilobytes - findings.first.kilobytes;
  const int descriptors = findings.first.fewest_descriptors;
  const bool same_descriptors = descriptors == findings.first.most_descriptors &&
                                descriptors == findings.last.fewest_descriptors &&
                                descriptors == findings.last.most_descriptors;
  const bool outcomes = check(findings.tally.wrong == 0, "exchanges went wrong");
  const bool blocks = check(findings.kept_blocks == 0 && findings.kept_bytes == 0,
                            "the library kept memory over a restart");
  const bool memory =
      check(!kJudgesResidentMemory || growth <= kMostGrowth, "resident memory grew");
  const bool open = check(same_descriptors, "the number of descriptors changed");
  const bool used = check(findings.tally.cache_hits > 0, "the cache gave nothing");
  return outcomes && blocks && memory && open && used;
}

}  // namespace

int main(int argc, char **argv) {
  Options options;
  options.seed = std::random_device()();
  CLI::App app("Many exchanges in one process; its memory and descriptors must stay the same.");
  app.add_option("--exchanges", options.exchanges, "How many")
      ->check(CLI::Range(100U, 100000000U))
      ->capture_default_str();
  app.add_option("--seed", options.seed, "Of what is drawn by chance (default: by chance)");
  CLI11_PARSE(app, argc, argv);

  // Else the heap would adapt to large blocks by keeping them resident.
  mallopt(M_MMAP_THRESHOLD, kMmapThreshold);
  mallopt(M_TRIM_THRESHOLD, kMmapThreshold);

  const Findings findings = Run(options);
  PrintTable(options, findings);
  return Holds(findings) ? 0 : 1;
}
