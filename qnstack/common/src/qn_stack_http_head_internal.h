// SPDX-License-Identifier: MIT
// What the composer of requests and the tests of the request header table use
// of it besides its exported functions.
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

// Whether the heap refused the value that was written last under this name, one
// of the default headers. The table then holds the value before it, or none.
bool IsHeadRefused(const char *name);

// Compares the names of two entries, with their case.
int CompareHeadNames(const void *key, const void *stored);

// Frees the entry that the pointer variable at `address` holds and clears it.
void FreeHeadEntry(void *address);

}  // namespace qn

#endif
