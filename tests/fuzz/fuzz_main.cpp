// SPDX-License-Identifier: MIT
// What all fuzzers share: the library's trace lines go nowhere, and a failed
// expectation of a model ends the run as a crash does, so that the input that
// caused it is kept.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

class AbortOnFailure : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult &result) override {
    if (!result.failed()) return;
    const char *file = result.file_name();
    std::fprintf(stderr, "%s:%d: %s\n", file == nullptr ? "?" : file, result.line_number(),
                 result.message());
    std::abort();
  }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  testing::TestEventListeners &listeners = testing::UnitTest::GetInstance()->listeners();
  delete listeners.Release(listeners.default_result_printer());
  listeners.Append(new AbortOnFailure);
  return 0;
}
