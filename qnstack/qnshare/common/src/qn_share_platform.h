// SPDX-License-Identifier: MIT
// What the base needs of a platform: a heap, and a search that some C libraries
// have and others do not. A platform defines each of these functions;
// qn_share_mem.cpp and qn_share_string.cpp alone call them.
#ifndef QNSTACK_QN_SHARE_PLATFORM_H
#define QNSTACK_QN_SHARE_PLATFORM_H

#include <cstddef>

namespace qn::platform {

// A block of zeros, aligned for any type; null when there is no room. `size` is
// above 0.
void *AllocateZeros(std::size_t size);

// Resizes a block: its bytes stay as far as they fit, the ones behind them may be
// anything, and the address may change. A null block gives a new one. Null, with
// the block as it was, when there is no room. A size of 0 may free the block and
// give null, as realloc() of some C libraries does.
//
// A heap that cannot tell the size of a block, which the caller never passes, keeps
// it before the block.
void *ResizeBlock(void *block, std::size_t size);

// Takes back a block of the two calls above; never called with null.
void FreeBlock(void *block);

// The first place of `needle` in an area, or null. An empty needle is at the area's
// start. The time should grow with the area alone and not also with the needle,
// because what is searched comes from the network.
const void *FindBytes(const void *area, std::size_t area_size, const void *needle,
                      std::size_t needle_size);

}  // namespace qn::platform

#endif
