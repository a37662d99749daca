// SPDX-License-Identifier: MIT
// Guards how elements change places in a list: Move and Reverse move nodes,
// Swap moves elements between nodes, MoveToHead gives an element a new node.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_list.h"
#include "support/failing_heap.h"
#include "support/letter_list.h"

namespace {

using namespace qntest;

// Stands for the null place, which is the end of the list.
constexpr char kEnd = '-';

QNListNode *Place(const LetterList &list, char letter) {
  return letter == kEnd ? nullptr : list.Node(letter);
}

// The word after one of its letters was moved before another.
std::string ExpectedMove(std::string word, char moved, char before) {
  if (moved == before) return word;
  std::erase(word, moved);
  const size_t place = before == kEnd ? word.size() : word.find(before);
  word.insert(place, 1, moved);
  return word;
}

TEST(QnListMove, MovesEveryNodeBeforeEveryPlace) {
  for (const std::string word : {"A", "AB", "ABC", "ABCD", "ABCDE"}) {
    for (const char moved : word) {
      for (const char before : word + kEnd) {
        LetterList list(word);

        fnQNList_Move(list.List(), list.Node(moved), Place(list, before));

        EXPECT_EQ(list.Letters(), ExpectedMove(word, moved, before))
            << moved << " before " << before << " in " << word;
      }
    }
  }
}

TEST(QnListMove, MovesTheNodeAndNotItsElementAndNeedsNoMemory) {
  LetterList list("ABCD");
  const std::vector<QNListNode *> nodes = NodesOf(*list.List());
  {
    FailingHeap heap(1, FailingHeap::Reach::kRest);
    fnQNList_Move(list.List(), nodes[2], nodes[0]);
    EXPECT_EQ(heap.Allocations(), 0);
    EXPECT_EQ(heap.Frees(), 0);
  }

  EXPECT_EQ(NodesOf(*list.List()),
            (std::vector<QNListNode *>{nodes[2], nodes[0], nodes[1], nodes[3]}));
  EXPECT_EQ(nodes[2]->data, LetterElement('C'));
}

TEST(QnListMove, DoesNothingInAListOfOneOrNone) {
  LetterList one("A");
  LetterList empty;
  LetterList other("XY");

  fnQNList_Move(one.List(), one.Node('A'), other.Node('Y'));
  fnQNList_Move(empty.List(), other.Node('X'), nullptr);

  EXPECT_EQ(one.Letters(), "A");
  EXPECT_EQ(empty.Letters(), "");
  EXPECT_EQ(other.Letters(), "XY");
}

TEST(QnListReverse, ReversesTheNodesInPlaceAndNeedsNoMemory) {
  for (const std::string word : {"", "A", "AB", "ABC", "ABCD"}) {
    LetterList list(word);
    std::vector<QNListNode *> nodes = NodesOf(*list.List());
    {
      FailingHeap heap(1, FailingHeap::Reach::kRest);
      fnQNList_Reverse(list.List());
      EXPECT_EQ(heap.Allocations(), 0);
    }

    EXPECT_EQ(list.Letters(), std::string(word.rbegin(), word.rend()));
    std::reverse(nodes.begin(), nodes.end());
    EXPECT_EQ(NodesOf(*list.List()), nodes);
  }
}

TEST(QnListSwap, ExchangesElementsAndKeepsNodes) {
  LetterList list("ABCD");
  const std::vector<QNListNode *> nodes = qntest::NodesOf(*list.List());

  fnQNList_Swap(nodes[0], nodes[3]);
  EXPECT_EQ(list.Letters(), "DBCA");

  fnQNList_Swap(nodes[2], nodes[1]);
  EXPECT_EQ(list.Letters(), "DCBA");

  EXPECT_EQ(qntest::NodesOf(*list.List()), nodes);
}

TEST(QnListSwap, WorksBetweenTwoLists) {
  LetterList list("ABC");
  LetterList other("XYZ");

  fnQNList_Swap(list.Node('B'), other.Node('Z'));

  EXPECT_EQ(list.Letters(), "AZC");
  EXPECT_EQ(other.Letters(), "XYB");
}

TEST(QnListSwap, DoesNothingForTheSameNode) {
  LetterList list("AB");

  fnQNList_Swap(list.Node('A'), list.Node('A'));

  EXPECT_EQ(list.Letters(), "AB");
}

TEST(QnListMoveToHead, BringsTheFirstSuchElementToTheFront) {
  struct {
    const char *letters;
    char moved;
    const char *result;
  } const cases[] = {{"ABC", 'C', "CAB"}, {"ABC", 'B', "BAC"}, {"ABC", 'A', "ABC"},
                     {"A", 'A', "A"},     {"AB", 'B', "BA"},   {"ABCBD", 'B', "BACBD"}};
  for (const auto &each : cases) {
    LetterList list(each.letters);

    EXPECT_EQ(fnQNFS_List_MoveToHead(list.List(), LetterElement(each.moved)), 0);

    EXPECT_EQ(list.Letters(), each.result);
  }
}

TEST(QnListMoveToHead, GivesTheElementANewNode) {
  LetterList list("ABC");
  const std::vector<QNListNode *> nodes = NodesOf(*list.List());
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    fnQNFS_List_MoveToHead(list.List(), LetterElement('C'));
    EXPECT_EQ(heap.Allocations(), 1);
    EXPECT_EQ(heap.Frees(), 1);
  }

  EXPECT_EQ(list.Node('A'), nodes[0]);
  EXPECT_EQ(list.Node('B'), nodes[1]);
}

TEST(QnListMoveToHead, LeavesTheListForWhatIsNotThereOrWithoutMemory) {
  LetterList list("ABC");
  LetterList empty;

  EXPECT_EQ(fnQNFS_List_MoveToHead(list.List(), LetterElement('X')), -1);
  EXPECT_EQ(fnQNFS_List_MoveToHead(empty.List(), LetterElement('A')), -1);
  EXPECT_EQ(WithRefusal(1, [&] { return fnQNFS_List_MoveToHead(list.List(), LetterElement('C')); }),
            -1);

  EXPECT_EQ(list.Letters(), "ABC");
  EXPECT_EQ(empty.Letters(), "");
}

}  // namespace
