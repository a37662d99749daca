// SPDX-License-Identifier: MIT
// Guards how nodes leave a list: which are unlinked, what is handed back or
// released, in which order, and that a foreign node leaves everything alone.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>
#include <vector>

#include "qnstack/qn_list.h"
#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"
#include "support/letter_list.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;

// One call of a release function, with what the list looked like meanwhile.
struct Release {
  char letter;
  int32_t count;           // nodes in the list
  bool is_in_list;         // the element was still found there
  bool is_address_inside;  // the address handed over lay in the element's node
  int32_t type;
};

// The list that the release functions below look at, and what they saw.
QNList *observed_list = nullptr;
std::vector<Release> releases;

void RecordReleaseByType(void *address, int32_t type) {
  auto **variable = static_cast<void **>(address);
  const QNListNode *node = fnQNList_Find(observed_list, *variable);
  releases.push_back({.letter = LetterOf(*variable),
                      .count = observed_list->count,
                      .is_in_list = node != nullptr,
                      .is_address_inside = node != nullptr && address == &node->data,
                      .type = type});
  *variable = nullptr;  // what happens to the variable must not matter
}

void RecordRelease(void *address) { RecordReleaseByType(address, 0); }

void ObserveReleases(QNList *list) {
  observed_list = list;
  releases.clear();
}

std::string ReleasedLetters() {
  std::string letters;
  for (const Release &each : releases) letters += each.letter;
  return letters;
}

TEST(QnListRemove, UnlinksAtEveryPlace) {
  struct {
    const char *letters;
    char removed;
    const char *result;
  } const cases[] = {{"A", 'A', ""},       {"AB", 'A', "B"},    {"AB", 'B', "A"},
                     {"ABC", 'A', "BC"},   {"ABC", 'B', "AC"},  {"ABC", 'C', "AB"},
                     {"ABCD", 'B', "ACD"}, {"ABCD", 'C', "ABD"}};
  for (const auto &each : cases) {
    LetterList list(each.letters);

    fnQNList_Remove(list.List(), list.Node(each.removed));

    EXPECT_EQ(list.Letters(), each.result);
  }
}

TEST(QnListRemove, FreesTheNodeAlone) {
  LetterList list("ABC");
  char *element = fnQN_MEMSTRCOPY("element");
  QNListNode *node = fnQNList_AddTail(list.List(), element);
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    fnQNList_Remove(list.List(), node);
    EXPECT_EQ(heap.Frees(), 1);
  }

  EXPECT_STREQ(element, "element");
  fnQN_Free(&element);
}

TEST(QnListRemove, LeavesBothListsForANodeOfAnother) {
  for (const char foreign : {'X', 'Y', 'Z'}) {
    LetterList list("ABC");
    LetterList other("XYZ");

    fnQNList_Remove(list.List(), other.Node(foreign));

    EXPECT_EQ(list.Letters(), "ABC") << foreign;
    EXPECT_EQ(other.Letters(), "XYZ") << foreign;
  }
}

TEST(QnListRemove, LeavesAnEmptyListAndTheForeignNode) {
  LetterList empty;
  LetterList other("XYZ");

  fnQNList_Remove(empty.List(), other.Node('Y'));

  EXPECT_EQ(empty.Letters(), "");
  EXPECT_EQ(other.Letters(), "XYZ");
}

TEST(QnListRemove, LeavesWhatTheHeadsPreviousNodeIs) {
  LetterList list("AB");
  QNListNode stale = {};
  list.List()->head->prev = &stale;

  fnQNList_Remove(list.List(), list.List()->head);

  EXPECT_EQ(list.Letters(), "B");
  EXPECT_EQ(stale.next, nullptr);
}

TEST(QnListRemoveFront, HandsBackTheFirstElement) {
  LetterList list("ABC");

  EXPECT_EQ(fnQNList_RemoveFront(list.List()), LetterElement('A'));
  EXPECT_EQ(list.Letters(), "BC");
  EXPECT_EQ(fnQNList_RemoveFront(list.List()), LetterElement('B'));
  EXPECT_EQ(list.Letters(), "C");
  EXPECT_EQ(fnQNList_RemoveFront(list.List()), LetterElement('C'));
  EXPECT_EQ(list.Letters(), "");
}

TEST(QnListRemoveTail, HandsBackTheLastElement) {
  LetterList list("ABC");

  EXPECT_EQ(fnQNList_RemoveTail(list.List()), LetterElement('C'));
  EXPECT_EQ(list.Letters(), "AB");
  EXPECT_EQ(fnQNList_RemoveTail(list.List()), LetterElement('B'));
  EXPECT_EQ(list.Letters(), "A");
  EXPECT_EQ(fnQNList_RemoveTail(list.List()), LetterElement('A'));
  EXPECT_EQ(list.Letters(), "");
}

TEST(QnListRemoveEnd, HandsBackNothingFromAnEmptyOrNullList) {
  LetterList empty;

  EXPECT_EQ(fnQNList_RemoveFront(empty.List()), nullptr);
  EXPECT_EQ(fnQNList_RemoveTail(empty.List()), nullptr);
  EXPECT_EQ(fnQNList_RemoveFront(nullptr), nullptr);
  EXPECT_EQ(fnQNList_RemoveTail(nullptr), nullptr);

  EXPECT_EQ(empty.Letters(), "");
}

TEST(QnListDeleteByNum, ReleasesAndRemovesAtEveryIndex) {
  struct {
    int32_t index;
    const char *released;
    const char *result;
  } const cases[] = {{0, "A", "BC"}, {1, "B", "AC"}, {2, "C", "AB"}};
  for (const auto &each : cases) {
    LetterList list("ABC");
    ObserveReleases(list.List());

    EXPECT_EQ(fnQNList_Delete_ByNum(list.List(), each.index, RecordRelease), 1);

    EXPECT_EQ(ReleasedLetters(), each.released);
    EXPECT_EQ(list.Letters(), each.result);
  }
}

TEST(QnListDeleteByNum, EmptiesAListOfOne) {
  LetterList list("A");
  ObserveReleases(list.List());

  EXPECT_EQ(fnQNList_Delete_ByNum(list.List(), 0, RecordRelease), 1);

  EXPECT_EQ(ReleasedLetters(), "A");
  EXPECT_EQ(list.List()->head, nullptr);
  EXPECT_EQ(list.List()->tail, nullptr);
  EXPECT_EQ(list.List()->count, 0);
}

TEST(QnListDeleteByNum, ReleasesBeforeItRemovesThroughACopy) {
  LetterList list("ABC");
  ObserveReleases(list.List());

  fnQNList_Delete_ByNum(list.List(), 1, RecordRelease);

  ASSERT_EQ(releases.size(), 1U);
  EXPECT_EQ(releases[0].count, 3);
  EXPECT_TRUE(releases[0].is_in_list);
  EXPECT_FALSE(releases[0].is_address_inside);
}

TEST(QnListDeleteByNum, DoesNothingForAnIndexOutsideTheList) {
  LetterList list("ABC");
  LetterList empty;
  for (const int32_t index : {INT_MIN, -5, -1, 3, 4, INT_MAX}) {
    ObserveReleases(list.List());

    EXPECT_EQ(fnQNList_Delete_ByNum(list.List(), index, RecordRelease), 0) << index;
    EXPECT_EQ(fnQNList_Delete_ByNum(empty.List(), index, RecordRelease), 0) << index;

    EXPECT_EQ(ReleasedLetters(), "") << index;
    EXPECT_EQ(list.Letters(), "ABC") << index;
  }
  EXPECT_EQ(fnQNList_Delete_ByNum(empty.List(), 0, RecordRelease), 0);
}

// A count that is too small does not hide the element that stands at it.
TEST(QnListDeleteByNum, RefusesAnIndexAboveTheCountAloneAndWalksToAnyOther) {
  LetterList list("ABCD");
  list.List()->count = 2;
  ObserveReleases(list.List());

  EXPECT_EQ(fnQNList_Delete_ByNum(list.List(), 3, RecordRelease), 0);
  EXPECT_EQ(ReleasedLetters(), "");
  EXPECT_EQ(fnQNList_Delete_ByNum(list.List(), 2, RecordRelease), 1);
  EXPECT_EQ(ReleasedLetters(), "C");

  EXPECT_EQ(list.List()->count, 1);
  list.List()->count = 3;
  EXPECT_EQ(list.Letters(), "ABD");
}

// Clear and Clear_ByType behave alike but for the type.
struct ClearCase {
  const char *name;
  std::function<void(QNList *list)> clear;
  std::function<void(QNList *list)> clear_without_release;
};

const std::vector<ClearCase> &BothWaysToClear() {
  static const std::vector<ClearCase> ways = {
      {"Clear", [](QNList *list) { fnQNList_Clear(list, RecordRelease); },
       [](QNList *list) { fnQNList_Clear(list, nullptr); }},
      {"Clear_ByType", [](QNList *list) { fnQNList_Clear_ByType(list, RecordReleaseByType, 3); },
       [](QNList *list) { fnQNList_Clear_ByType(list, nullptr, 3); }},
  };
  return ways;
}

TEST(QnListClear, ReleasesEachElementFromTheFrontAfterItsNodeIsGone) {
  for (const ClearCase &way : BothWaysToClear()) {
    LetterList list("ABC");
    ObserveReleases(list.List());

    way.clear(list.List());

    EXPECT_EQ(ReleasedLetters(), "ABC") << way.name;
    int32_t expected_count = 2;
    for (const Release &each : releases) {
      EXPECT_EQ(each.count, expected_count--) << way.name;
      EXPECT_FALSE(each.is_in_list) << way.name;
    }
    EXPECT_EQ(list.Letters(), "") << way.name;
    EXPECT_EQ(list.List()->head, nullptr) << way.name;
  }
}

TEST(QnListClear, SkipsANodeThatHoldsNull) {
  for (const ClearCase &way : BothWaysToClear()) {
    LetterList list("ABC");
    list.Node('B')->data = nullptr;
    ObserveReleases(list.List());

    way.clear(list.List());

    EXPECT_EQ(ReleasedLetters(), "AC") << way.name;
    EXPECT_EQ(list.List()->count, 0) << way.name;
  }
}

TEST(QnListClear, FreesTheNodesWithoutAReleaseFunction) {
  for (const ClearCase &way : BothWaysToClear()) {
    LetterList list("ABC");
    ObserveReleases(list.List());
    {
      FailingHeap heap(FailingHeap::kCountOnly);
      way.clear_without_release(list.List());
      EXPECT_EQ(heap.Frees(), 3) << way.name;
    }

    EXPECT_EQ(ReleasedLetters(), "") << way.name;
    EXPECT_EQ(list.Letters(), "") << way.name;
  }
}

TEST(QnListClear, ReleasesNothingOfAnEmptyOrNullList) {
  for (const ClearCase &way : BothWaysToClear()) {
    LetterList empty;
    ObserveReleases(empty.List());

    way.clear(empty.List());
    way.clear(nullptr);

    EXPECT_EQ(ReleasedLetters(), "") << way.name;
  }
}

TEST(QnListClear, KeepsReserved) {
  for (const ClearCase &way : BothWaysToClear()) {
    LetterList list("ABC");
    list.List()->reserved = 0xABCD;
    ObserveReleases(list.List());

    way.clear(list.List());

    EXPECT_EQ(list.List()->reserved, 0xABCDU) << way.name;
  }
}

TEST(QnListRemoveTail, TakesTheLastOfManyWithoutAWalk) {
  // Walking to each would take minutes.
  const Watchdog watchdog;
  constexpr int kMany = 500000;
  QNList list = {};
  for (int i = 0; i < kMany; ++i) fnQNList_AddTail(&list, LetterElement('A'));

  for (int i = 0; i < kMany; ++i) fnQNList_RemoveTail(&list);

  EXPECT_EQ(list.count, 0);
  EXPECT_TRUE(IsSound(list));
}

TEST(QnListClear, TakesTheLibrarysFreeAsReleaseFunction) {
  QNList list = {};
  fnQNList_AddTail(&list, fnQN_MEMSTRCOPY("one"));
  fnQNList_AddTail(&list, fnQN_MEMSTRCOPY("two"));
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQNList_Clear(&list, fnQN_Free);

  EXPECT_EQ(heap.Frees(), 4);
}

TEST(QnListClearByType, PassesTheTypeThroughUnchanged) {
  for (const int32_t type : {0, 1, -1, INT_MAX, INT_MIN}) {
    LetterList list("AB");
    ObserveReleases(list.List());

    fnQNList_Clear_ByType(list.List(), RecordReleaseByType, type);

    ASSERT_EQ(releases.size(), 2U);
    EXPECT_EQ(releases[0].type, type);
    EXPECT_EQ(releases[1].type, type);
  }
}

}  // namespace
