// SPDX-License-Identifier: MIT
// Guards the memory buffer as a whole: long random sequences of operations
// agree, field by field, with a plain model of what each one promises, and the
// storage always has the capacity and its spare bytes.
#include <gtest/gtest.h>

#include "support/buffer_model.h"
#include "support/chooser.h"

namespace {

TEST(QnMemBufferModel, AgreesOverRandomOperations) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    qntest::BufferWalk walk(qntest::SeededChooser(seed), seed % 4 * 16);
    for (int step = 0; step < 1000; ++step) {
      walk.Step();
      ASSERT_TRUE(walk.Agrees()) << "after step " << step << ": " << walk.Difference();
      ASSERT_FALSE(testing::Test::HasFailure()) << "in step " << step;
    }
  }
}

}  // namespace
