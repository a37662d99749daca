// The doubly linked list behind every collection of the library. It owns its
// nodes and never its elements; it keeps no state of its own.
#include "qnstack/qn_list.h"

#include "qn_list_link.h"
#include "qn_owned.h"

namespace {

// Links a node between two neighbours, either of which may be null at an
// end of the list.
void Link(QNList *list, QNListNode *node, QNListNode *before, QNListNode *after) {
  node->prev = before;
  node->next = after;
  (before != nullptr ? before->next : list->head) = node;
  (after != nullptr ? after->prev : list->tail) = node;
  ++list->count;
}

QNListNode *InsertBetween(QNList *list, QNListNode *before, QNListNode *after, void *data) {
  auto *node = static_cast<QNListNode *>(qn::AllocateUncleared(sizeof(QNListNode)));
  if (node == nullptr) return nullptr;
  node->data = data;
  Link(list, node, before, after);
  return node;
}

// Without a head the list is empty and a tail that is left over is stale.
QNListNode *Last(const QNList *list) { return list->head != nullptr ? list->tail : nullptr; }

// Takes a node out whose place in this list is certain.
void Unlink(QNList *list, QNListNode *node) {
  (node->prev != nullptr ? node->prev->next : list->head) = node->next;
  (node->next != nullptr ? node->next->prev : list->tail) = node->prev;
  --list->count;
  qn::Release(node);
}

// A node of another list must leave both lists alone, so `prev` is believed
// only once the walk has met the node.
bool Contains(const QNList *list, const QNListNode *node) {
  if (list->head == nullptr) return false;
  if (node == list->head || node == list->tail) return true;
  const QNListNode *walk = list->head;
  while (walk != nullptr && walk != node) walk = walk->next;
  return walk != nullptr;
}

}  // namespace

QNListNode *qn::NewNode() { return NewRecord<QNListNode>(); }

void qn::LinkFront(QNList *list, QNListNode *node) { Link(list, node, nullptr, list->head); }

void qn::LinkTail(QNList *list, QNListNode *node) { Link(list, node, Last(list), nullptr); }

void fnQNList_Init(QNList *list) {
  if (list != nullptr) *list = QNList{};
}

int32_t fnQNList_IsEmpty(const QNList *list) {
  return list == nullptr || list->head == nullptr ? 1 : 0;
}

int32_t fnQNList_GetCount(const QNList *list) { return list == nullptr ? -1 : list->count; }

QNListNode *fnQNList_BeginIter(const QNList *list) {
  return list == nullptr ? nullptr : list->head;
}

QNListNode *fnQNList_EndIter(const QNList *list) { return list == nullptr ? nullptr : list->tail; }

int32_t fnQNList_IsValid(const QNListNode *iter) { return iter != nullptr ? 1 : 0; }

void *fnQNList_GetData(const QNListNode *iter) { return iter == nullptr ? nullptr : iter->data; }

QNListNode *fnQNList_NextIter(const QNListNode *iter) {
  return iter == nullptr ? nullptr : iter->next;
}

QNListNode *fnQNList_PrevIter(const QNListNode *iter) {
  return iter == nullptr ? nullptr : iter->prev;
}

QNListNode *fnQNList_AddTail(QNList *list, void *data) {
  if (list == nullptr || data == nullptr) return nullptr;
  return InsertBetween(list, Last(list), nullptr, data);
}

QNListNode *fnQNList_AddFront(QNList *list, void *data) {
  if (list == nullptr || data == nullptr) return nullptr;
  return InsertBetween(list, nullptr, list->head, data);
}

QNListNode *fnQNList_AddBefore(QNList *list, QNListNode *node, void *data) {
  if (list == nullptr || node == nullptr || data == nullptr) return nullptr;
  return InsertBetween(list, node->prev, node, data);
}

QNListNode *fnQNList_AddAfter(QNList *list, QNListNode *node, void *data) {
  if (list == nullptr || node == nullptr || data == nullptr) return nullptr;
  return InsertBetween(list, node, node->next, data);
}

void fnQNList_Remove(QNList *list, QNListNode *node) {
  if (list == nullptr || node == nullptr || !Contains(list, node)) return;
  Unlink(list, node);
}

void *fnQNList_RemoveFront(QNList *list) {
  if (fnQNList_IsEmpty(list) != 0) return nullptr;
  void *data = list->head->data;
  Unlink(list, list->head);
  return data;
}

void *fnQNList_RemoveTail(QNList *list) {
  if (fnQNList_IsEmpty(list) != 0) return nullptr;
  void *data = list->tail->data;
  Unlink(list, list->tail);
  return data;
}

int32_t fnQNList_Delete_ByNum(QNList *list, int32_t index, QNListRelease release) {
  if (list == nullptr || release == nullptr || index < 0 || index >= list->count) return 0;
  QNListNode *node = fnQNList_Find_ByNum(list, index);
  if (node == nullptr) return 0;
  void *data = node->data;
  release(&data);
  fnQNList_Remove(list, node);
  return 1;
}

void fnQNList_Clear(QNList *list, QNListRelease release) {
  while (fnQNList_IsEmpty(list) == 0) {
    void *data = fnQNList_RemoveFront(list);
    if (data != nullptr && release != nullptr) release(&data);
  }
}

void fnQNList_Clear_ByType(QNList *list, QNListReleaseByType release, int32_t type) {
  while (fnQNList_IsEmpty(list) == 0) {
    void *data = fnQNList_RemoveFront(list);
    if (data != nullptr && release != nullptr) release(&data, type);
  }
}

QNListNode *fnQNList_Find(const QNList *list, const void *data) {
  if (list == nullptr || data == nullptr) return nullptr;
  QNListNode *node = list->head;
  while (node != nullptr && node->data != data) node = node->next;
  return node;
}

QNListNode *fnQNList_CompareFind(const QNList *list, const void *key, QNListCompare cmp) {
  if (list == nullptr || key == nullptr || cmp == nullptr) return nullptr;
  QNListNode *node = list->head;
  while (node != nullptr && cmp(key, node->data) != 0) node = node->next;
  return node;
}

QNListNode *fnQNList_Find_ByNum(const QNList *list, int32_t index) {
  if (list == nullptr || list->count < 1 || index >= list->count) return nullptr;
  QNListNode *node = list->head;
  for (; node != nullptr && index > 0; --index) node = node->next;
  return node;
}

void fnQNList_Swap(QNListNode *a, QNListNode *b) {
  if (a == nullptr || b == nullptr || a == b) return;
  void *data = a->data;
  a->data = b->data;
  b->data = data;
}

void fnQNList_Move(QNList *list, QNListNode *node, QNListNode *before) {
  if (list == nullptr || node == nullptr || list->count <= 1) return;
  if (before == node || before == node->next) return;

  // As a ring no end needs a case of its own while the node changes place.
  list->head->prev = list->tail;
  list->tail->next = list->head;

  if (node == list->head) list->head = node->next;
  if (node == list->tail) list->tail = node->prev;
  if (before == list->head) list->head = node;
  if (before == nullptr) {
    list->tail = node;
    before = list->head;
  }
  node->prev->next = node->next;
  node->next->prev = node->prev;
  node->prev = before->prev;
  node->next = before;
  before->prev->next = node;
  before->prev = node;

  list->head->prev = nullptr;
  list->tail->next = nullptr;
}

void fnQNList_Reverse(QNList *list) {
  if (list == nullptr) return;
  QNListNode *old_head = list->head;
  for (QNListNode *node = old_head; node != nullptr;) {
    QNListNode *next = node->next;
    node->next = node->prev;
    node->prev = next;
    node = next;
  }
  list->head = list->tail;
  list->tail = old_head;
}

void fnQNList_Free(QNList *list) {
  if (list == nullptr || list->head == nullptr) return;
  fnQN_Free(&list->head->data);
  fnQN_Free(&list->head->prev);
  fnQN_Free(&list->head);
}
