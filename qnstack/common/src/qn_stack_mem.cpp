// The reallocation helper of the HTTP stack. Owns nothing.
#include "qnstack/qn_stack_mem.h"

#include "qnstack/qn_share_mem.h"

void *fnQNStack_ReMalloc(void *pointer, uint32_t size) {
  return fnQN_Realloc_Local(pointer, size, __FILE__, __LINE__);
}
