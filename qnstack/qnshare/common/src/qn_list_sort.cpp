// Sorting of the list: an exchange sort that moves elements and keeps nodes.
// Which elements are compared, and in which order, is what callers with a
// comparator of their own have seen since the beginning, so the steps stay.
#include <utility>

#include "qn_owned.h"
#include "qnstack/qn_list.h"

namespace {

// A node and its position, counted from 1.
struct Place {
  QNListNode *node;
  int32_t position;

  Place Next() const { return {node->next, position + 1}; }
};

// Which positions hold their final element.
class Settled {
 public:
  explicit Settled(uint8_t *marks) : marks_(marks) {}
  bool At(const Place &place) const { return marks_[place.position] != 0; }
  void Mark(const Place &place) { marks_[place.position] = 1; }
  // A settled second element leaves nothing that could stand before the first.
  void SettleFirstAfterSecond() {
    if (marks_[2] != 0) marks_[1] = 1;
  }

 private:
  uint8_t *marks_;
};

int32_t CountNodes(const QNList *list) {
  int32_t nodes = 0;
  for (const QNListNode *node = fnQNList_BeginIter(list); node != nullptr; node = node->next) {
    ++nodes;
  }
  return nodes;
}

void Exchange(QNListNode *a, QNListNode *b) { std::swap(a->data, b->data); }

// Carries the element at `pivot` behind all smaller ones up to the next
// settled position; it is settled where it ends.
void CarryToPlace(Place pivot, QNListCompare cmp, Settled &settled) {
  Place other = pivot.Next();
  if (other.node == nullptr || settled.At(other)) return;
  for (; other.node != nullptr && !settled.At(other); other = other.Next()) {
    if (cmp(pivot.node->data, other.node->data) <= 0) continue;
    // The pivot moves one place on, and the smaller element takes its place.
    Exchange(pivot.node, pivot.node->next);
    if (pivot.node->next != other.node) Exchange(pivot.node, other.node);
    pivot = pivot.Next();
  }
  settled.Mark(pivot);
}

// The place where the next pass starts, from `base` on.
Place NextBase(Place base, int32_t nodes, Settled &settled) {
  while (settled.At(base)) {
    if (base.node->next == nullptr) return base;
    base = base.Next();
  }
  if (base.position >= nodes) {
    settled.Mark(base);
    return base;
  }
  if (!settled.At(base.Next())) return base;
  settled.Mark(base);
  return base.Next();
}

}  // namespace

QNList *fnQNList_Sort(QNList *list, QNListCompare cmp) {
  const int32_t nodes = CountNodes(list);
  // One byte per position from 0 on, kept for good as its callers know.
  const std::size_t bytes = list == nullptr ? 0 : static_cast<std::size_t>(nodes) + 1;
  auto *marks = static_cast<uint8_t *>(qn::AllocateZeroed(bytes));
  if (list == nullptr || cmp == nullptr || marks == nullptr) return nullptr;

  if (nodes < 2) return list;

  Settled settled(marks);
  Place base = {list->head, 1};
  for (Place pivot = base; pivot.node->next != nullptr; pivot = base) {
    CarryToPlace(pivot, cmp, settled);
    settled.SettleFirstAfterSecond();
    base = NextBase(base, nodes, settled);
  }
  return list;
}
