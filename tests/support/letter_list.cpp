// SPDX-License-Identifier: MIT
// Reading walks at most `count` nodes, so that a list which has become a ring
// fails a test instead of holding it up.
#include "support/letter_list.h"

#include <array>
#include <cstddef>

namespace qntest {

namespace {

constexpr size_t kLetters = 26;

constinit std::array<char, kLetters> elements = {};

::testing::AssertionResult Unsound(const char *what) {
  return ::testing::AssertionFailure() << "list is not sound: " << what;
}

}  // namespace

::testing::AssertionResult IsSound(const QNList &list) {
  if (list.count < 0) return Unsound("the count is negative");
  if ((list.head == nullptr) != (list.tail == nullptr)) return Unsound("one end alone is null");

  const QNListNode *previous = nullptr;
  const QNListNode *node = list.head;
  for (int32_t i = 0; i < list.count; ++i) {
    if (node == nullptr) return Unsound("fewer nodes than the count");
    if (node->prev != previous) return Unsound("a node's prev is not the node before it");
    previous = node;
    node = node->next;
  }
  if (node != nullptr) return Unsound("more nodes than the count");
  if (list.tail != previous) return Unsound("the tail is not the last node");
  return ::testing::AssertionSuccess();
}

std::vector<QNListNode *> NodesOf(const QNList &list) {
  std::vector<QNListNode *> nodes;
  QNListNode *node = list.head;
  for (int32_t i = 0; i < list.count && node != nullptr; ++i) {
    nodes.push_back(node);
    node = node->next;
  }
  return nodes;
}

void *LetterElement(char letter) { return &elements.at(static_cast<size_t>(letter - 'A')); }

char LetterOf(const void *element) {
  return static_cast<char>('A' + (static_cast<const char *>(element) - elements.data()));
}

LetterList::LetterList(const std::string &letters) {
  for (const char letter : letters) fnQNList_AddTail(&list_, LetterElement(letter));
}

LetterList::~LetterList() { fnQNList_Clear(&list_, nullptr); }

std::string LetterList::Letters() const {
  EXPECT_TRUE(IsSound(list_));
  std::string letters;
  for (const QNListNode *node : NodesOf(list_)) letters += LetterOf(node->data);
  return letters;
}

QNListNode *LetterList::Node(char letter) const {
  for (QNListNode *node : NodesOf(list_)) {
    if (node->data == LetterElement(letter)) return node;
  }
  return nullptr;
}

}  // namespace qntest
