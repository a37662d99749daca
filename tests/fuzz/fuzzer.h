// SPDX-License-Identifier: MIT
// What the fuzzers share beside their common start: the function that each of them is,
// and how models fold letters and let numbers overflow.
#ifndef QNSTACK_TESTS_FUZZ_FUZZER_H
#define QNSTACK_TESTS_FUZZ_FUZZER_H

#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace qntest {

inline std::string Lower(std::string text) {
  for (char &byte : text) byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
  return text;
}

inline int32_t Wrapped(int64_t number) {
  return static_cast<int32_t>(static_cast<uint32_t>(number));
}

}  // namespace qntest

#endif
