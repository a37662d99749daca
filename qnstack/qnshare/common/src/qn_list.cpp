// SPDX-License-Identifier: MIT
// The doubly linked list behind every collection of the library: request
// headers, cookies, cache entries, settings, records and timers. Applications
// keep lists of their own with it.
#include "qnstack/qn_list.h"

#include <utility>

#include "qn_list_internal.h"
#include "qn_owned.h"

namespace {

// A new node that holds `data`; null if there is no list, no data or no memory.
QNListNode *MakeNode(const QNList *list, void *data) {
  if (list == nullptr || data == nullptr) return nullptr;
  QNListNode *node = qn::NewNode();
  if (node != nullptr) node->data = data;
  return node;
}

// Links a node between two neighbours, either of which may be null. Moving the
// list's head or tail is left to the caller.
void Link(QNList *list, QNListNode *prev, QNListNode *node, QNListNode *next) {
  node->prev = prev;
  node->next = next;
  if (prev != nullptr) prev->next = node;
  if (next != nullptr) next->prev = node;
  ++list->count;
}

// The node before `node`, which is not the head; null if the list does not hold
// `node`. The walk notices a node of another list, whose `prev` would mislead.
// The tail is certainly in the list, so it needs no walk.
QNListNode *NodeBefore(const QNList *list, const QNListNode *node) {
  if (node == list->tail) return node->prev;
  QNListNode *before = list->head;
  while (before != nullptr && before->next != node) before = before->next;
  return before;
}

// The node that stands `steps` behind the head; null if the list ends before.
QNListNode *NodeAt(const QNList *list, int32_t steps) {
  QNListNode *node = list->head;
  for (; node != nullptr && steps > 0; --steps) node = node->next;
  return node;
}

// Removes a node and returns its element.
void *TakeOut(QNList *list, QNListNode *node) {
  void *data = node->data;
  fnQNList_Remove(list, node);
  return data;
}

}  // namespace

QNListNode *qn::NewNode() { return NewRecord<QNListNode>(); }

void qn::LinkFront(QNList *list, QNListNode *node) {
  Link(list, nullptr, node, list->head);
  if (list->head == nullptr) list->tail = node;
  list->head = node;
}

void qn::LinkTail(QNList *list, QNListNode *node) {
  Link(list, list->tail, node, nullptr);
  if (list->head == nullptr) list->head = node;
  list->tail = node;
}

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
  QNListNode *added = MakeNode(list, data);
  if (added != nullptr) qn::LinkTail(list, added);
  return added;
}

QNListNode *fnQNList_AddFront(QNList *list, void *data) {
  QNListNode *added = MakeNode(list, data);
  if (added != nullptr) qn::LinkFront(list, added);
  return added;
}

QNListNode *fnQNList_AddBefore(QNList *list, QNListNode *node, void *data) {
  if (node == nullptr) return nullptr;
  QNListNode *added = MakeNode(list, data);
  if (added == nullptr) return nullptr;
  Link(list, node->prev, added, node);
  if (node == list->head) list->head = added;
  return added;
}

QNListNode *fnQNList_AddAfter(QNList *list, QNListNode *node, void *data) {
  if (node == nullptr) return nullptr;
  QNListNode *added = MakeNode(list, data);
  if (added == nullptr) return nullptr;
  Link(list, node, added, node->next);
  if (node == list->tail) list->tail = added;
  return added;
}

void fnQNList_Remove(QNList *list, QNListNode *node) {
  if (fnQNList_IsEmpty(list) != 0 || node == nullptr) return;
  QNListNode *before = nullptr;
  if (node == list->head) {
    list->head = node->next;
  } else {
    before = NodeBefore(list, node);
    if (before == nullptr) return;
    before->next = node->next;
  }
  if (node->next != nullptr) node->next->prev = before;
  if (node == list->tail) list->tail = before;
  --list->count;
  fnQN_Free(&node);
}

void *fnQNList_RemoveFront(QNList *list) {
  return fnQNList_IsEmpty(list) != 0 ? nullptr : TakeOut(list, list->head);
}

void *fnQNList_RemoveTail(QNList *list) {
  return fnQNList_IsEmpty(list) != 0 ? nullptr : TakeOut(list, list->tail);
}

int32_t fnQNList_Delete_ByNum(QNList *list, int32_t index, QNListRelease release) {
  // The walk finds out that no element stands at an index equal to the count.
  if (list == nullptr || release == nullptr || index < 0 || index > list->count) return 0;
  QNListNode *node = NodeAt(list, index);
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
  return NodeAt(list, index);
}

void fnQNList_Swap(QNListNode *a, QNListNode *b) {
  if (a != nullptr && b != nullptr) std::swap(a->data, b->data);
}

void fnQNList_Move(QNList *list, QNListNode *node, QNListNode *before) {
  if (list == nullptr || node == nullptr || before == node || list->count <= 1) return;

  // While the list is a ring, the first and the last node move as all others do.
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
  for (QNListNode *node = list->head; node != nullptr; node = node->prev) {
    std::swap(node->prev, node->next);
  }
  std::swap(list->head, list->tail);
}

void fnQNList_Free(QNList *list) {
  if (list == nullptr || list->head == nullptr) return;
  fnQN_Free(&list->head->data);
  fnQN_Free(&list->head->prev);
  fnQN_Free(&list->head);
}
