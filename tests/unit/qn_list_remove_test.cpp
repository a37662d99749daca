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
  for (const std::string word : {"", "ABC"}) {
    for (const char foreign : {'X', 'Y', 'Z'}) {
      LetterList list(word);
      LetterList other("XYZ");

      fnQNList_Remove(list.List(), other.Node(foreign));

      EXPECT_EQ(list.Letters(), word) << foreign;
      EXPECT_EQ(other.Letters(), "XYZ") << foreign;
    }
  }
}

TEST(QnListRemove, LeavesWhatTheHeadsPreviousNodeIs) {
  LetterList list("AB");
  QNListNode stale = {};
  list.List()->head->prev = &stale;

  fnQNList_Remove(list.List(), list.List()->head);

  EXPECT_EQ(list.Letters(), "B");
  EXPECT_EQ(stale.next, nullptr);
}

TEST(QnListRemoveEnd, HandsBackTheElementOfThatEnd) {
  struct {
    void *(*remove)(QNList *list);
    const char *letters;
    const char *results[3];
  } const cases[] = {{fnQNList_RemoveFront, "ABC", {"BC", "C", ""}},
                     {fnQNList_RemoveTail, "CBA", {"AB", "A", ""}}};
  for (const auto &each : cases) {
    LetterList list("ABC");
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(each.remove(list.List()), LetterElement(each.letters[i])) << each.letters;
      EXPECT_EQ(list.Letters(), each.results[i]);
    }

    EXPECT_EQ(each.remove(list.List()), nullptr);

    EXPECT_EQ(list.Letters(), "");
  }
}

TEST(QnListDeleteByNum, ReleasesAndRemovesAtEveryIndex) {
  struct {
    const char *letters;
    int32_t index;
    const char *released;
    const char *result;
  } const cases[] = {
      {"ABC", 0, "A", "BC"}, {"ABC", 1, "B", "AC"}, {"ABC", 2, "C", "AB"}, {"A", 0, "A", ""}};
  for (const auto &each : cases) {
    LetterList list(each.letters);
    ObserveReleases(list.List());

    EXPECT_EQ(fnQNList_Delete_ByNum(list.List(), each.index, RecordRelease), 1);

    EXPECT_EQ(ReleasedLetters(), each.released);
    EXPECT_EQ(list.Letters(), each.result);
  }
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
    EXPECT_EQ(fnQNList_Delete_ByNum(empty.List(), 0, RecordRelease), 0);

    EXPECT_EQ(ReleasedLetters(), "") << index;
    EXPECT_EQ(list.Letters(), "ABC") << index;
  }
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

const ClearCase kWaysToClear[] = {
    {"Clear", [](QNList *list) { fnQNList_Clear(list, RecordRelease); },
     [](QNList *list) { fnQNList_Clear(list, nullptr); }},
    {"Clear_ByType", [](QNList *list) { fnQNList_Clear_ByType(list, RecordReleaseByType, 3); },
     [](QNList *list) { fnQNList_Clear_ByType(list, nullptr, 3); }},
};

TEST(QnListClear, ReleasesEachElementFromTheFrontAfterItsNodeIsGone) {
  for (const ClearCase &way : kWaysToClear) {
    SCOPED_TRACE(way.name);
    LetterList list("ABC");
    list.List()->reserved = 0xABCD;
    ObserveReleases(list.List());

    way.clear(list.List());

    EXPECT_EQ(ReleasedLetters(), "ABC");
    int32_t expected_count = 2;
    for (const Release &each : releases) {
      EXPECT_EQ(each.count, expected_count--);
      EXPECT_FALSE(each.is_in_list);
    }
    EXPECT_EQ(list.Letters(), "");
    EXPECT_EQ(list.List()->head, nullptr);
    EXPECT_EQ(list.List()->reserved, 0xABCDU);
    releases.clear();
    way.clear(list.List());
    EXPECT_EQ(ReleasedLetters(), "") << "it is empty";
  }
}

TEST(QnListClear, SkipsANodeThatHoldsNull) {
  for (const ClearCase &way : kWaysToClear) {
    LetterList list("ABC");
    list.Node('B')->data = nullptr;
    ObserveReleases(list.List());

    way.clear(list.List());

    EXPECT_EQ(ReleasedLetters(), "AC") << way.name;
    EXPECT_EQ(list.List()->count, 0) << way.name;
  }
}

TEST(QnListClear, FreesTheNodesWithoutAReleaseFunction) {
  for (const ClearCase &way : kWaysToClear) {
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
