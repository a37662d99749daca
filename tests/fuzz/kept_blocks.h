// Counts the heap blocks that the library leaves behind, and frees them, so that
// a fuzzer finds every leak at once and runs for hours without growing.
#ifndef QNSTACK_TESTS_FUZZ_KEPT_BLOCKS_H
#define QNSTACK_TESTS_FUZZ_KEPT_BLOCKS_H

#include <cstddef>
#include <vector>

namespace qntest {

// One at a time.
//
//   KeptBlocks kept;
//   ... code that has released all it owns when it ends ...
//   EXPECT_EQ(kept.Release(), std::vector<std::size_t>{});
class KeptBlocks {
 public:
  KeptBlocks();
  ~KeptBlocks();
  KeptBlocks(const KeptBlocks &) = delete;
  KeptBlocks &operator=(const KeptBlocks &) = delete;

  // Frees what the library allocated since this object was made and is still there;
  // gives the sizes, in ascending order.
  std::vector<std::size_t> Release();
};

}  // namespace qntest

#endif
