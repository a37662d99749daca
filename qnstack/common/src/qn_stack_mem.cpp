// SPDX-License-Identifier: MIT
// The reallocation helper of the HTTP client; the memory buffer calls it.
#include "qnstack/qn_stack_mem.h"

#include "qnstack/qn_share_mem.h"

void *fnQNStack_ReMalloc(void *pointer, uint32_t size) {
  return fnQN_Realloc_Local(pointer, size, __FILE__, __LINE__);
}
