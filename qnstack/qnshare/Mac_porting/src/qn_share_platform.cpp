// SPDX-License-Identifier: MIT
// The C library's heap, for the base.
#include "qn_share_platform.h"

#include <cstdlib>

void *qn::platform::AllocateZeros(std::size_t size) { return std::calloc(size, 1); }

void *qn::platform::ResizeBlock(void *block, std::size_t size) { return std::realloc(block, size); }

void qn::platform::FreeBlock(void *block) { std::free(block); }
