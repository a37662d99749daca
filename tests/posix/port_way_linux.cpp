// SPDX-License-Identifier: MIT
// The port of Linux.
#include "posix/port_way.h"

const bool qntest::kPortAsksTheKernel = true;
