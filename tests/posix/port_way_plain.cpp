// SPDX-License-Identifier: MIT
// The port of POSIX.1-2008 alone.
#include "posix/port_way.h"

const bool qntest::kPortAsksTheKernel = false;
