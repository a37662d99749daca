// SPDX-License-Identifier: MIT
// Guards the list as a whole: long runs of mixed operations, chosen by a
// seeded generator, must leave the nodes and elements that a standard list
// under the same operations has.
#include <gtest/gtest.h>

#include "support/chooser.h"
#include "support/list_model.h"

namespace {

TEST(QnListModel, AgreesWithAStandardListAfterEveryStep) {
  constexpr int kSteps = 500;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    qntest::ListAndModel both(qntest::SeededChooser(seed));
    for (int step = 1; step <= kSteps; ++step) {
      both.Step();
      ASSERT_TRUE(both.Agree()) << "seed " << seed << ", step " << step;
      ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
    }
  }
}

}  // namespace
