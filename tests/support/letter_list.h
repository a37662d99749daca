// SPDX-License-Identifier: MIT
// A list whose elements are the letters 'A' to 'Z', so that a test can write
// and read it as text, and a check that the links of a list agree.
#ifndef QNSTACK_TESTS_SUPPORT_LETTER_LIST_H
#define QNSTACK_TESTS_SUPPORT_LETTER_LIST_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qnstack/qn_list.h"

namespace qntest {

// Whether the ends, the links in both directions and the count of a list
// agree; the message says which do not. Ends on a ring too.
::testing::AssertionResult IsSound(const QNList &list);

// The nodes from the head on, at most `count` of them.
std::vector<QNListNode *> NodesOf(const QNList &list);

// The element that stands for a capital letter; the same one each time.
void *LetterElement(char letter);

// The letter of such an element.
char LetterOf(const void *element);

class LetterList {
 public:
  // A list of one node for each letter of the text, in its order.
  explicit LetterList(const std::string &letters = "");
  ~LetterList();
  LetterList(const LetterList &) = delete;
  LetterList &operator=(const LetterList &) = delete;

  // The letters from the head on. Fails the running test if the list is not
  // sound.
  std::string Letters() const;

  // The first node that holds the letter; null if there is none.
  QNListNode *Node(char letter) const;

  QNList *List() { return &list_; }

 private:
  QNList list_ = {};
};

}  // namespace qntest

#endif
