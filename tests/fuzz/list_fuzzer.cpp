// SPDX-License-Identifier: MIT
// The list: a script of operations on it and on a standard list; and sorting,
// which must give the same elements in order, whatever the comparison says.
//
// Input: bytes that choose, from the end backwards; the last one what is tried.

#include <algorithm>
#include <string>

#include "fuzz/fuzzer.h"
#include "support/letter_list.h"
#include "support/list_model.h"

namespace {

FuzzedDataProvider *answers = nullptr;

int ByLetter(const void *a, const void *b) { return qntest::LetterOf(a) - qntest::LetterOf(b); }

// No order at all: a comparison of the application's may be wrong.
int ByWhim(const void * /*a*/, const void * /*b*/) {
  return answers->ConsumeIntegralInRange(-1, 1);
}

void TryOperations(FuzzedDataProvider *input) {
  qntest::ListAndModel both(
      [input](size_t bound) { return input->ConsumeIntegralInRange<size_t>(0, bound - 1); });
  while (input->remaining_bytes() > 0) {
    both.Step();
    EXPECT_TRUE(both.Agree());
  }
}

void TrySorting(FuzzedDataProvider *input) {
  const bool in_order = input->ConsumeBool();
  std::string letters(input->ConsumeIntegralInRange<size_t>(0, 60), 'A');
  for (char &letter : letters) letter = input->ConsumeIntegralInRange('A', 'Z');
  qntest::LetterList list(letters);
  answers = input;
  EXPECT_EQ(fnQNList_Sort(list.List(), in_order ? ByLetter : ByWhim), list.List());
  std::string sorted = list.Letters();
  if (!in_order) std::sort(sorted.begin(), sorted.end());
  std::sort(letters.begin(), letters.end());
  EXPECT_EQ(sorted, letters);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  if (input.ConsumeIntegralInRange(0, 2) == 2) {
    TrySorting(&input);
  } else {
    TryOperations(&input);
  }
  return 0;
}
