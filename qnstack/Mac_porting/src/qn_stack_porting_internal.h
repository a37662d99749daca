// SPDX-License-Identifier: MIT
// What the socket layer offers to the transfer engine and to its own tests
// besides the exported functions.
#ifndef QNSTACK_QN_STACK_PORTING_INTERNAL_H
#define QNSTACK_QN_STACK_PORTING_INTERNAL_H

#include <cstdint>

namespace qn {

extern int32_t socket_init;  // 1 while the layer is started

// Tells the platform that nothing follows the next send on this slot, so that it
// need not hold the chunk back until the earlier ones are acknowledged.
void HurryLastChunk(int32_t slot);

}  // namespace qn

#endif
