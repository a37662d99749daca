// What the tests of the request header table reach besides its exported
// functions.
#ifndef QNSTACK_QN_STACK_HTTP_HEAD_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_HEAD_INTERNAL_H

#include "qnstack/qn_list.h"

namespace qn {

struct HttpHeadEntry {
  char *name;   // header name without its colon; owned by the entry
  char *value;  // owned by the entry
};

// The table; null until the first write and after it was freed.
extern QNList *http_head_list;

// Compares the names of two entries, minding case.
int fnQNStack_Http_Head_Compare(const void *key, const void *stored);

// Frees the entry that the pointer variable at `address` holds and clears it.
void fnQNStack_Http_Head_FreeNode(void *address);

}  // namespace qn

#endif
