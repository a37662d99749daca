// SPDX-License-Identifier: MIT
// The heap of the compiler's C library.
#include <cstdlib>

#include "qn_share_platform.h"

void *qn::platform::AllocateZeros(std::size_t size) { return std::calloc(size, 1); }

void *qn::platform::ResizeBlock(void *block, std::size_t size) { return std::realloc(block, size); }

void qn::platform::FreeBlock(void *block) { std::free(block); }
