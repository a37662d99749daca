// Linking nodes that were made beforehand, for callers that must not be refused
// one once they have its element.
#ifndef QNSTACK_QN_LIST_LINK_H
#define QNSTACK_QN_LIST_LINK_H

#include "qnstack/qn_list.h"

namespace qn {

// A node in no list, without an element; null when the heap refuses it.
QNListNode *NewNode();

// Adds a node at an end of a list, which owns it from then on. None is null.
void LinkFront(QNList *list, QNListNode *node);
void LinkTail(QNList *list, QNListNode *node);

}  // namespace qn

#endif
