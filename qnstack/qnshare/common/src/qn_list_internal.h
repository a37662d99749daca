// SPDX-License-Identifier: MIT
// What record files need of the list besides its exported functions: a node
// that is there before its element is read, so that the element is not lost
// where the heap refuses the node.
#ifndef QNSTACK_QN_LIST_INTERNAL_H
#define QNSTACK_QN_LIST_INTERNAL_H

#include "qnstack/qn_list.h"

namespace qn {

// A node that is in no list and holds no element; null when the heap refuses.
QNListNode *NewNode();

// Link such a node in at one end of a list, which owns the node from then on.
// Neither pointer may be null.
void LinkFront(QNList *list, QNListNode *node);
void LinkTail(QNList *list, QNListNode *node);

}  // namespace qn

#endif
