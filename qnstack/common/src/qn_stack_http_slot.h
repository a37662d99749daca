// SPDX-License-Identifier: MIT
// The socket slots of contexts, for the sources of the HTTP client: which
// context has taken a slot is noted, because a context may go on naming a slot
// that was closed and taken by another since.
#ifndef QNSTACK_QN_STACK_HTTP_SLOT_H
#define QNSTACK_QN_STACK_HTTP_SLOT_H

#include <cstdint>

#include "qnstack/qn_stack_http.h"

namespace qn {

// Makes a socket for the context and notes who has its slot. The slot becomes
// the context's `socket`; it is 0 or less when all are taken.
void TakeSlot(QNHttpCtx *ctx);

// Closes a slot, whoever has it; it is nobody's then.
void CloseSlot(int32_t slot);

// Whether another context has taken this one's slot. A slot that no context has
// taken, since the application made it, is anybody's.
bool IsSlotOfAnother(const QNHttpCtx &ctx);

}  // namespace qn

#endif
