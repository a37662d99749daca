// SPDX-License-Identifier: MIT
// Leaves the process so few descriptors to open that it runs out of them.
#ifndef QNSTACK_TESTS_SUPPORT_FEW_DESCRIPTORS_H
#define QNSTACK_TESTS_SUPPORT_FEW_DESCRIPTORS_H

#include <sys/resource.h>

namespace qntest {

// While it lives, `left` descriptors can be open beyond those that are now.
class FewDescriptors {
 public:
  explicit FewDescriptors(int left);
  ~FewDescriptors();
  FewDescriptors(const FewDescriptors &) = delete;
  FewDescriptors &operator=(const FewDescriptors &) = delete;

 private:
  rlimit before_ = {};
};

}  // namespace qntest

#endif
