// SPDX-License-Identifier: MIT
// Guards how a list is made, filled, walked and searched.
#include "qnstack/qn_list.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_share_mem.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/failing_heap.h"
#include "support/letter_list.h"

namespace {

using namespace qntest;

TEST(QnListInit, ZeroesAllFourFields) {
  QNListNode node = {};
  QNList list = {&node, &node, 7, 0xABCD};

  fnQNList_Init(&list);

  EXPECT_EQ(list.head, nullptr);
  EXPECT_EQ(list.tail, nullptr);
  EXPECT_EQ(list.count, 0);
  EXPECT_EQ(list.reserved, 0U);
}

TEST(QnList, TellsItsCountAndWhetherItIsEmpty) {
  LetterList empty;
  LetterList list("ABC");

  EXPECT_EQ(fnQNList_IsEmpty(empty.List()), 1);
  EXPECT_EQ(fnQNList_IsEmpty(list.List()), 0);
  EXPECT_EQ(fnQNList_GetCount(empty.List()), 0);
  EXPECT_EQ(fnQNList_GetCount(list.List()), 3);
}

TEST(QnListIter, WalksForwardFromTheHeadAndBackwardFromTheTail) {
  LetterList list("ABC");
  std::string forward;
  std::string backward;

  for (auto *iter = fnQNList_BeginIter(list.List()); fnQNList_IsValid(iter) != 0;
       iter = fnQNList_NextIter(iter)) {
    forward += LetterOf(fnQNList_GetData(iter));
  }
  for (auto *iter = fnQNList_EndIter(list.List()); fnQNList_IsValid(iter) != 0;
       iter = fnQNList_PrevIter(iter)) {
    backward += LetterOf(fnQNList_GetData(iter));
  }

  EXPECT_EQ(fnQNList_BeginIter(list.List()), list.List()->head);
  EXPECT_EQ(fnQNList_EndIter(list.List()), list.List()->tail);
  EXPECT_EQ(forward, "ABC");
  EXPECT_EQ(backward, "CBA");
}

TEST(QnListIter, IsNullForAnEmptyListAndValidOnAnyNode) {
  LetterList empty;
  const QNListNode node = {};

  EXPECT_EQ(fnQNList_BeginIter(empty.List()), nullptr);
  EXPECT_EQ(fnQNList_EndIter(empty.List()), nullptr);
  EXPECT_EQ(fnQNList_IsValid(&node), 1);
  EXPECT_EQ(fnQNList_GetData(&node), nullptr);
}

// A way to add the letter X to "ABC", and what gives the list where it is seen from
// the node of A, of B and of C.
struct AddCase {
  const char *name;
  std::function<QNListNode *(QNList *list, QNListNode *place, void *data)> add;
  const char *results[3];
};

const AddCase kWaysToAdd[] = {
    {"AddTail",
     [](QNList *list, QNListNode *, void *data) { return fnQNList_AddTail(list, data); },
     {"ABCX", "ABCX", "ABCX"}},
    {"AddFront",
     [](QNList *list, QNListNode *, void *data) { return fnQNList_AddFront(list, data); },
     {"XABC", "XABC", "XABC"}},
    {"AddBefore", fnQNList_AddBefore, {"XABC", "AXBC", "ABXC"}},
    {"AddAfter", fnQNList_AddAfter, {"AXBC", "ABXC", "ABCX"}},
};

TEST(QnListAdd, PutsANewNodeInItsPlaceAndKeepsTheOthersAndReserved) {
  for (const AddCase &way : kWaysToAdd) {
    for (const char place : {'A', 'B', 'C'}) {
      SCOPED_TRACE(std::string(way.name) + " at " + place);
      LetterList list("ABC");
      list.List()->reserved = 0xABCD;
      const std::vector<QNListNode *> nodes = NodesOf(*list.List());

      QNListNode *added = way.add(list.List(), list.Node(place), LetterElement('X'));

      EXPECT_EQ(list.Letters(), way.results[place - 'A']);
      EXPECT_EQ(added, list.Node('X'));
      std::vector<QNListNode *> others = NodesOf(*list.List());
      std::erase(others, added);
      EXPECT_EQ(others, nodes);
      EXPECT_EQ(list.List()->reserved, 0xABCDU);
    }
  }
}

TEST(QnListAdd, FillsAnEmptyListFromEitherEnd) {
  LetterList appended;
  LetterList prepended;
  for (const char letter : {'A', 'B', 'B'}) {
    fnQNList_AddTail(appended.List(), LetterElement(letter));
    fnQNList_AddFront(prepended.List(), LetterElement(letter));
    EXPECT_EQ(appended.List()->tail->data, LetterElement(letter));
    EXPECT_EQ(prepended.List()->head->data, LetterElement(letter));
  }

  EXPECT_EQ(appended.Letters(), "ABB");
  EXPECT_EQ(prepended.Letters(), "BBA");
}

// A node without neighbours that is in no list is linked to all the same; the
// list's ends are not concerned.
TEST(QnListAdd, MovesAnEndOnlyIfItWasThatNode) {
  for (const bool before : {true, false}) {
    SCOPED_TRACE(before ? "before" : "after");
    LetterList list("AB");
    QNListNode foreign = {LetterElement('F'), nullptr, nullptr};

    const auto add = before ? fnQNList_AddBefore : fnQNList_AddAfter;
    QNListNode *added = add(list.List(), &foreign, LetterElement('X'));

    EXPECT_EQ(before ? foreign.prev : foreign.next, added);
    EXPECT_EQ(before ? added->next : added->prev, &foreign);
    EXPECT_EQ(list.List()->head, list.Node('A'));
    EXPECT_EQ(list.List()->tail, list.Node('B'));
    EXPECT_EQ(list.List()->count, 3);
    list.List()->count = 2;
    fnQN_Free(&added);
  }
}

TEST(QnListAdd, LeavesTheListWhenTheHeapRefuses) {
  for (const AddCase &way : kWaysToAdd) {
    LetterList list("ABC");
    QNListNode *place = list.Node('B');
    const auto add = [&] { return way.add(list.List(), place, LetterElement('X')); };

    EXPECT_EQ(WithRefusal(1, add), nullptr) << way.name;

    EXPECT_EQ(list.Letters(), "ABC") << way.name;
  }
}

TEST(QnListAdd, LeavesAnEmptyListWhenTheHeapRefusesAndAsksNothingForNoList) {
  LetterList list;
  FailingHeap heap(1, FailingHeap::Reach::kRest);

  fnQNList_AddTail(nullptr, LetterElement('X'));
  fnQNList_AddFront(nullptr, LetterElement('X'));
  EXPECT_EQ(heap.Allocations(), 0);
  fnQNList_AddTail(list.List(), LetterElement('X'));
  fnQNList_AddFront(list.List(), LetterElement('X'));

  EXPECT_EQ(list.Letters(), "");
}

TEST(QnListFind, FindsTheFirstNodeByIdentity) {
  LetterList list("ABCB");

  EXPECT_EQ(fnQNList_Find(list.List(), LetterElement('A')), list.List()->head);
  EXPECT_EQ(fnQNList_Find(list.List(), LetterElement('B')), list.List()->head->next);
  EXPECT_EQ(fnQNList_Find(list.List(), LetterElement('C')), list.Node('C'));
}

TEST(QnListFind, ComparesPointersAndNotContents) {
  char one[] = "same";
  char other[] = "same";
  QNList list = {};
  fnQNList_AddTail(&list, one);

  EXPECT_EQ(fnQNList_Find(&list, other), nullptr);
  EXPECT_EQ(fnQNList_Find(&list, one), list.head);
  fnQNList_Clear(&list, nullptr);
}

TEST(QnListFind, FindsNothingThatIsNotThere) {
  LetterList list("ABC");
  LetterList empty;

  EXPECT_EQ(fnQNList_Find(list.List(), LetterElement('X')), nullptr);
  EXPECT_EQ(fnQNList_Find(empty.List(), LetterElement('A')), nullptr);
}

TEST(QnListFind, FindsNoNullEvenWhereANodeHoldsIt) {
  LetterList list("ABC");
  list.Node('B')->data = nullptr;

  EXPECT_EQ(fnQNList_Find(list.List(), nullptr), nullptr);
}

// What CompareByLetter was called with: the key's text, then the letter.
std::string compared;

// The key is a text whose first letter is looked for.
int CompareByLetter(const void *key, const void *element) {
  const char wanted = *static_cast<const char *>(key);
  compared += {wanted, LetterOf(element)};
  return wanted - LetterOf(element);
}

TEST(QnListCompareFind, HandsOverTheKeyAndEachElementUpToTheMatch) {
  LetterList list("CABA");
  compared.clear();

  QNListNode *found = fnQNList_CompareFind(list.List(), "A", CompareByLetter);

  EXPECT_EQ(found, list.List()->head->next);
  EXPECT_EQ(compared, "ACAA");
}

TEST(QnListCompareFind, TakesZeroAloneAsAMatch) {
  LetterList list("ACBD");
  compared.clear();

  EXPECT_EQ(fnQNList_CompareFind(list.List(), "B", CompareByLetter), list.Node('B'));
  EXPECT_EQ(fnQNList_CompareFind(list.List(), "X", CompareByLetter), nullptr);

  EXPECT_EQ(compared, "BABCBBXAXCXBXD");
}

TEST(QnListCompareFind, ComparesNothingInAnEmptyList) {
  LetterList empty;
  compared.clear();

  EXPECT_EQ(fnQNList_CompareFind(empty.List(), "A", CompareByLetter), nullptr);

  EXPECT_EQ(compared, "");
}

TEST(QnListFindByNum, GivesTheNodeAtTheIndexAndTheHeadBelowZero) {
  LetterList list("ABC");
  struct {
    int32_t index;
    QNListNode *node;
  } const cases[] = {{0, list.Node('A')},  {1, list.Node('B')},  {2, list.Node('C')},
                     {3, nullptr},         {4, nullptr},         {INT_MAX, nullptr},
                     {-1, list.Node('A')}, {-5, list.Node('A')}, {INT_MIN, list.Node('A')}};
  for (const auto &each : cases) {
    EXPECT_EQ(fnQNList_Find_ByNum(list.List(), each.index), each.node) << each.index;
  }
}

TEST(QnListFindByNum, FindsNothingInAnEmptyList) {
  LetterList empty;
  for (const int32_t index : {INT_MIN, -1, 0, 1}) {
    EXPECT_EQ(fnQNList_Find_ByNum(empty.List(), index), nullptr) << index;
  }
}

TEST(QnListFindByNum, FindsNothingWhereTheCountIsBelowOne) {
  LetterList list("AB");
  for (const int32_t count : {0, -3}) {
    list.List()->count = count;
    for (const int32_t index : {INT_MIN, -5, -1, 0}) {
      EXPECT_EQ(fnQNList_Find_ByNum(list.List(), index), nullptr) << count << " " << index;
    }
  }
  list.List()->count = 2;
}

TEST(QnListGetPos, GivesThePositionOfTheFirstNodeOrMinusOne) {
  LetterList list("ABCB");
  LetterList empty;

  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('A')), 0);
  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('B')), 1);
  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('C')), 2);
  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('X')), -1);
  EXPECT_EQ(fnQNFS_List_getPos(empty.List(), LetterElement('A')), -1);
}

}  // namespace
