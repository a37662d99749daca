// SPDX-License-Identifier: MIT
// The kernel gives the lowest number that is free and none from the limit on, so
// the limit stands behind as many free numbers as are to be left.
#include "support/few_descriptors.h"

#include <fcntl.h>

#include <cstdlib>

namespace qntest {

FewDescriptors::FewDescriptors(int left) {
  if (getrlimit(RLIMIT_NOFILE, &before_) != 0) std::abort();
  int end = 0;
  while (left > 0) {
    if (fcntl(end++, F_GETFD) == -1) --left;
  }
  const rlimit few = {static_cast<rlim_t>(end), before_.rlim_max};
  if (setrlimit(RLIMIT_NOFILE, &few) != 0) std::abort();
}

FewDescriptors::~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

}  // namespace qntest
