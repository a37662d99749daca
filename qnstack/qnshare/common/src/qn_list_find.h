// Finding an element in a list without a call for each one that does not match.
#ifndef QNSTACK_QN_LIST_FIND_H
#define QNSTACK_QN_LIST_FIND_H

#include "qnstack/qn_list.h"

namespace qn {

// The first element for which `compare` gives 0 with `key`, as
// fnQNList_CompareFind() finds it; null if there is none.
template <typename Element, typename Compare>
Element *FindElement(const QNList *list, const void *key, Compare compare) {
  if (list == nullptr) return nullptr;
  for (const QNListNode *node = list->head; node != nullptr; node = node->next) {
    if (compare(key, node->data) == 0) return static_cast<Element *>(node->data);
  }
  return nullptr;
}

}  // namespace qn

#endif
