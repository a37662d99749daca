// SPDX-License-Identifier: MIT
// The memory buffer: a script of operations on it and on its model.
//
// Input: bytes that choose, from the end backwards: the capacity, the steps
// and what each of them writes or takes.

#include "fuzz/fuzzer.h"
#include "support/buffer_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  const auto capacity = input.ConsumeIntegralInRange<uint32_t>(0, 255);
  const auto below = [&input](size_t bound) {
    return input.ConsumeIntegralInRange<size_t>(0, bound - 1);
  };
  qntest::BufferWalk walk(below, capacity);
  while (input.remaining_bytes() > 0) {
    walk.Step();
    EXPECT_TRUE(walk.Agrees()) << walk.Difference();
  }
  return 0;
}
