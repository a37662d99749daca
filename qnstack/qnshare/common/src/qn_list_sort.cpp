// SPDX-License-Identifier: MIT
// Sorting a list: an exchange sort that moves elements and keeps nodes. Callers'
// comparators have seen which elements are compared and in which order, so the
// steps stay as they are.
#include <cstddef>

#include "qn_owned.h"
#include "qnstack/qn_list.h"

namespace {

// A node and its position, counted from 1.
struct Place {
  QNListNode *node;
  std::size_t position;

  Place Next() const { return {node->next, position + 1}; }
};

std::size_t CountNodes(const QNList *list) {
  std::size_t nodes = 0;
  for (const QNListNode *node = list->head; node != nullptr; node = node->next) ++nodes;
  return nodes;
}

// Carries the element at `pivot` behind all smaller ones up to the next settled
// position, and marks the place where it ends as settled.
void CarryToPlace(Place pivot, QNListCompare cmp, bool *settled) {
  Place other = pivot.Next();
  if (settled[other.position]) return;
  for (; other.node != nullptr && !settled[other.position]; other = other.Next()) {
    if (cmp(pivot.node->data, other.node->data) <= 0) continue;
    // The pivot moves on by one place, and the smaller element takes its place.
    fnQNList_Swap(pivot.node, pivot.node->next);
    if (pivot.node->next != other.node) fnQNList_Swap(pivot.node, other.node);
    pivot = pivot.Next();
  }
  settled[pivot.position] = true;
}

}  // namespace

QNList *fnQNList_Sort(QNList *list, QNListCompare cmp) {
  if (list == nullptr || cmp == nullptr) return nullptr;
  // Whether a position holds its final element.
  const qn::Owned<bool> marks(static_cast<bool *>(qn::AllocateZeroed(CountNodes(list) + 1)));
  bool *settled = marks.get();
  if (settled == nullptr) return nullptr;

  Place base = {list->head, 1};
  while (base.node != nullptr && base.node->next != nullptr) {
    CarryToPlace(base, cmp, settled);
    // With the second element settled, nothing is left to stand before the first.
    if (settled[2]) settled[1] = true;
    while (settled[base.position] && base.node->next != nullptr) base = base.Next();
    // An element alone before a settled one is in its place. The settled one is
    // compared with those behind it once more: this is the order callers know.
    if (base.node->next != nullptr && settled[base.position + 1]) base = base.Next();
  }
  return list;
}
