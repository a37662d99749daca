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

TEST(QnListIsEmpty, AsksForTheFirstNode) {
  LetterList empty;
  LetterList one("A");

  EXPECT_EQ(fnQNList_IsEmpty(empty.List()), 1);
  EXPECT_EQ(fnQNList_IsEmpty(one.List()), 0);
  EXPECT_EQ(fnQNList_IsEmpty(nullptr), 1);
}

TEST(QnListGetCount, GivesTheCount) {
  LetterList list("ABC");

  EXPECT_EQ(fnQNList_GetCount(list.List()), 3);
  EXPECT_EQ(fnQNList_GetCount(LetterList().List()), 0);
  EXPECT_EQ(fnQNList_GetCount(nullptr), -1);
}

TEST(QnListIter, BeginsAtTheHeadAndEndsAtTheTail) {
  LetterList list("ABC");

  EXPECT_EQ(fnQNList_BeginIter(list.List()), list.List()->head);
  EXPECT_EQ(fnQNList_EndIter(list.List()), list.List()->tail);
  EXPECT_NE(list.List()->head, list.List()->tail);
}

TEST(QnListIter, IsNullForAnEmptyOrNullList) {
  LetterList empty;

  EXPECT_EQ(fnQNList_BeginIter(empty.List()), nullptr);
  EXPECT_EQ(fnQNList_EndIter(empty.List()), nullptr);
  EXPECT_EQ(fnQNList_BeginIter(nullptr), nullptr);
  EXPECT_EQ(fnQNList_EndIter(nullptr), nullptr);
}

TEST(QnListIter, WalksForward) {
  LetterList list("ABC");
  std::string letters;

  for (auto *iter = fnQNList_BeginIter(list.List()); fnQNList_IsValid(iter) != 0;
       iter = fnQNList_NextIter(iter)) {
    letters += LetterOf(fnQNList_GetData(iter));
  }

  EXPECT_EQ(letters, "ABC");
}

TEST(QnListIter, WalksBackward) {
  LetterList list("ABC");
  std::string letters;

  for (auto *iter = fnQNList_EndIter(list.List()); fnQNList_IsValid(iter) != 0;
       iter = fnQNList_PrevIter(iter)) {
    letters += LetterOf(fnQNList_GetData(iter));
  }

  EXPECT_EQ(letters, "CBA");
}

TEST(QnListIter, IsValidOnAnyNode) {
  const QNListNode node = {};

  EXPECT_EQ(fnQNList_IsValid(&node), 1);
  EXPECT_EQ(fnQNList_GetData(&node), nullptr);
}

TEST(QnListAddTail, AppendsANewNode) {
  LetterList list;
  for (const std::string expected : {"A", "AB", "ABC"}) {
    QNListNode *node = fnQNList_AddTail(list.List(), LetterElement(expected.back()));

    EXPECT_EQ(list.Letters(), expected);
    EXPECT_EQ(node, list.List()->tail);
  }
}

TEST(QnListAddFront, PrependsANewNode) {
  LetterList list;
  for (const std::string expected : {"A", "BA", "CBA"}) {
    QNListNode *node = fnQNList_AddFront(list.List(), LetterElement(expected.front()));

    EXPECT_EQ(list.Letters(), expected);
    EXPECT_EQ(node, list.List()->head);
  }
}

// The four ways to add the letter X, seen from the node of B.
using Add = std::function<QNListNode *(QNList *list, QNListNode *place, void *data)>;

struct AddCase {
  const char *name;
  Add add;
};

const std::vector<AddCase> &AllWaysToAdd() {
  static const std::vector<AddCase> ways = {
      {"AddTail",
       [](QNList *list, QNListNode *, void *data) { return fnQNList_AddTail(list, data); }},
      {"AddFront",
       [](QNList *list, QNListNode *, void *data) { return fnQNList_AddFront(list, data); }},
      {"AddBefore", fnQNList_AddBefore},
      {"AddAfter", fnQNList_AddAfter},
  };
  return ways;
}

TEST(QnListAddBefore, InsertsAtEveryPlace) {
  struct {
    char place;
    const char *result;
  } const cases[] = {{'A', "XABC"}, {'B', "AXBC"}, {'C', "ABXC"}};
  for (const auto &each : cases) {
    LetterList list("ABC");

    QNListNode *node = fnQNList_AddBefore(list.List(), list.Node(each.place), LetterElement('X'));

    EXPECT_EQ(list.Letters(), each.result);
    EXPECT_EQ(node, list.Node('X'));
  }
}

TEST(QnListAddAfter, InsertsAtEveryPlace) {
  struct {
    char place;
    const char *result;
  } const cases[] = {{'A', "AXBC"}, {'B', "ABXC"}, {'C', "ABCX"}};
  for (const auto &each : cases) {
    LetterList list("ABC");

    QNListNode *node = fnQNList_AddAfter(list.List(), list.Node(each.place), LetterElement('X'));

    EXPECT_EQ(list.Letters(), each.result);
    EXPECT_EQ(node, list.Node('X'));
  }
}

// A node without neighbours that is in no list is linked to all the same; the
// list's ends are not concerned.
TEST(QnListAddBefore, MovesTheHeadOnlyIfItWasThatNode) {
  LetterList list("AB");
  QNListNode foreign = {LetterElement('F'), nullptr, nullptr};

  QNListNode *added = fnQNList_AddBefore(list.List(), &foreign, LetterElement('X'));

  EXPECT_EQ(foreign.prev, added);
  EXPECT_EQ(added->next, &foreign);
  EXPECT_EQ(list.List()->head, list.Node('A'));
  EXPECT_EQ(list.List()->tail, list.Node('B'));
  EXPECT_EQ(list.List()->count, 3);
  list.List()->count = 2;
  fnQN_Free(&added);
}

TEST(QnListAddAfter, MovesTheTailOnlyIfItWasThatNode) {
  LetterList list("AB");
  QNListNode foreign = {LetterElement('F'), nullptr, nullptr};

  QNListNode *added = fnQNList_AddAfter(list.List(), &foreign, LetterElement('X'));

  EXPECT_EQ(foreign.next, added);
  EXPECT_EQ(added->prev, &foreign);
  EXPECT_EQ(list.List()->head, list.Node('A'));
  EXPECT_EQ(list.List()->tail, list.Node('B'));
  EXPECT_EQ(list.List()->count, 3);
  list.List()->count = 2;
  fnQN_Free(&added);
}

TEST(QnListAdd, KeepsTheOtherNodesAndReserved) {
  for (const AddCase &way : AllWaysToAdd()) {
    LetterList list("ABC");
    list.List()->reserved = 0xABCD;
    std::vector<QNListNode *> nodes = qntest::NodesOf(*list.List());

    QNListNode *added = way.add(list.List(), list.Node('B'), LetterElement('X'));

    std::vector<QNListNode *> after = qntest::NodesOf(*list.List());
    std::erase(after, added);
    EXPECT_EQ(after, nodes) << way.name;
    EXPECT_EQ(list.List()->reserved, 0xABCDU) << way.name;
  }
}

TEST(QnListAdd, AllowsTheSameElementTwice) {
  LetterList list("A");

  fnQNList_AddTail(list.List(), LetterElement('A'));

  EXPECT_EQ(list.Letters(), "AA");
}

TEST(QnListAdd, AsksTheHeapForNothingWhenItRefuses) {
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQNList_AddTail(nullptr, LetterElement('X'));
  fnQNList_AddFront(nullptr, LetterElement('X'));

  EXPECT_EQ(heap.Allocations(), 0);
}

TEST(QnListAdd, LeavesTheListWhenTheHeapRefuses) {
  for (const AddCase &way : AllWaysToAdd()) {
    LetterList list("ABC");
    QNListNode *place = list.Node('B');
    QNListNode *added = place;
    {
      FailingHeap heap(1);
      added = way.add(list.List(), place, LetterElement('X'));
    }

    EXPECT_EQ(added, nullptr) << way.name;
    EXPECT_EQ(list.Letters(), "ABC") << way.name;
  }
}

TEST(QnListAdd, LeavesAnEmptyListWhenTheHeapRefuses) {
  LetterList list;
  {
    FailingHeap heap(1, FailingHeap::Reach::kRest);
    fnQNList_AddTail(list.List(), LetterElement('X'));
    fnQNList_AddFront(list.List(), LetterElement('X'));
  }

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
  EXPECT_EQ(fnQNList_Find(list.List(), nullptr), nullptr);
  EXPECT_EQ(fnQNList_Find(nullptr, LetterElement('A')), nullptr);
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

TEST(QnListCompareFind, ComparesNothingWhereAnArgumentIsNull) {
  LetterList list("ABC");
  LetterList empty;
  compared.clear();

  EXPECT_EQ(fnQNList_CompareFind(nullptr, "A", CompareByLetter), nullptr);
  EXPECT_EQ(fnQNList_CompareFind(list.List(), nullptr, CompareByLetter), nullptr);
  EXPECT_EQ(fnQNList_CompareFind(list.List(), "A", nullptr), nullptr);
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

TEST(QnListFindByNum, FindsNothingInAnEmptyOrNullList) {
  LetterList empty;
  for (const int32_t index : {INT_MIN, -1, 0, 1}) {
    EXPECT_EQ(fnQNList_Find_ByNum(empty.List(), index), nullptr) << index;
    EXPECT_EQ(fnQNList_Find_ByNum(nullptr, index), nullptr) << index;
  }
}

TEST(QnListGetPos, GivesThePositionOfTheFirstNode) {
  LetterList list("ABCB");

  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('A')), 0);
  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('B')), 1);
  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('C')), 2);
}

TEST(QnListGetPos, IsMinusOneForWhatIsNotThere) {
  LetterList list("ABC");
  LetterList empty;

  EXPECT_EQ(fnQNFS_List_getPos(list.List(), LetterElement('X')), -1);
  EXPECT_EQ(fnQNFS_List_getPos(list.List(), nullptr), -1);
  EXPECT_EQ(fnQNFS_List_getPos(empty.List(), LetterElement('A')), -1);
  EXPECT_EQ(fnQNFS_List_getPos(nullptr, LetterElement('A')), -1);
  EXPECT_EQ(fnQNFS_List_getPos(nullptr, nullptr), -1);
}

}  // namespace
