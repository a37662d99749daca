// SPDX-License-Identifier: MIT
// Guards the C++ face's lists: the members that containers have, what a list
// releases and when, and views of lists that somebody else owns.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"

namespace {

using qnstack::List;
using qnstack::Range;
using qntest::FailingHeap;
using testing::ElementsAre;
using testing::IsEmpty;

using Letters = List<char>;

static_assert(std::is_nothrow_move_constructible_v<Letters>);
static_assert(std::is_nothrow_move_assignable_v<Letters>);
static_assert(std::is_nothrow_swappable_v<Letters>);
static_assert(!std::is_copy_constructible_v<Letters> && !std::is_copy_assignable_v<Letters>);

static_assert(std::bidirectional_iterator<Letters::iterator>);
static_assert(std::bidirectional_iterator<Letters::const_iterator>);
static_assert(std::is_convertible_v<Letters::iterator, Letters::const_iterator>);
static_assert(!std::is_convertible_v<Letters::const_iterator, Letters::iterator>);
static_assert(std::is_same_v<Letters::value_type, char>);
static_assert(std::is_same_v<decltype(*std::declval<Letters &>().begin()), char &>);
static_assert(std::is_same_v<decltype(*std::declval<const Letters &>().begin()), const char &>);

static_assert(std::is_constructible_v<Range<const int>, const QNList *>);
static_assert(std::is_constructible_v<Range<int>, QNList *>);
static_assert(!std::is_constructible_v<Range<int>, const QNList *>,
              "elements of a list that is only looked at are not changed");

char *TextOf(const char *text) { return fnQNStack_StrDup(text); }

Letters LettersOf(std::initializer_list<const char *> texts) {
  Letters letters;
  for (const char *text : texts) letters.push_back(TextOf(text));
  return letters;
}

std::string Joined(const Letters &letters) {
  std::string joined;
  for (const char &letter : letters) joined += &letter;
  return joined;
}

TEST(FaceList, TakesElementsAtBothEnds) {
  Letters letters;
  EXPECT_FALSE(letters.push_back(nullptr));
  EXPECT_FALSE(letters.push_front(nullptr));
  EXPECT_TRUE(letters.empty());
  EXPECT_EQ(letters.size(), 0U);
  EXPECT_EQ(letters.begin(), letters.end());
  EXPECT_EQ(letters.cbegin(), letters.cend());

  EXPECT_TRUE(letters.push_back(TextOf("b")));
  EXPECT_TRUE(letters.push_back(TextOf("c")));
  EXPECT_TRUE(letters.push_front(TextOf("a")));
  EXPECT_EQ(Joined(letters), "abc");
  EXPECT_EQ(letters.size(), 3U);
  EXPECT_FALSE(letters.empty());
  EXPECT_EQ(letters.front(), 'a');
  EXPECT_EQ(letters.back(), 'c');
  EXPECT_EQ(std::as_const(letters).front(), 'a');
  EXPECT_EQ(std::as_const(letters).back(), 'c');
}

// Releases a number by setting it to 0.
void ReleaseNumber(void *address) {
  int *number = nullptr;
  std::memcpy(&number, address, sizeof number);
  *number = 0;
}

TEST(FaceList, ReleasesAtOnceWhatItHasNoPlaceFor) {
  int front = 1;
  int back = 2;
  List<int> numbers(&ReleaseNumber);
  {
    const FailingHeap heap(1, FailingHeap::Reach::kRest);
    EXPECT_FALSE(numbers.push_front(&front));
    EXPECT_FALSE(numbers.push_back(&back));
  }
  EXPECT_TRUE(numbers.empty());
  EXPECT_EQ(front, 0);
  EXPECT_EQ(back, 0);
}

TEST(FaceList, LetsElementsGoAtBothEndsAndAllAtOnce) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  Letters letters = LettersOf({"a", "b", "c"});
  letters.pop_front();
  EXPECT_EQ(Joined(letters), "bc");
  letters.pop_back();
  EXPECT_EQ(Joined(letters), "b");
  letters.pop_back();
  letters.pop_back();
  letters.pop_front();
  EXPECT_TRUE(letters.empty());
  EXPECT_EQ(heap.LiveBlocks(), 0);

  letters = LettersOf({"a", "b"});
  letters.clear();
  EXPECT_TRUE(letters.empty());
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceList, ErasesAnElement) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    Letters letters = LettersOf({"a", "b", "c"});

    Letters::iterator next = letters.erase(std::next(letters.cbegin()));
    EXPECT_EQ(*next, 'c');
    EXPECT_EQ(Joined(letters), "ac");
    next = letters.erase(next);
    EXPECT_EQ(next, letters.end());
    EXPECT_EQ(*--next, 'a') << "it knows its list";
    EXPECT_EQ(letters.erase(letters.end()), letters.end());
    EXPECT_EQ(Joined(letters), "a");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceList, MovesWithItsElements) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    auto letters = LettersOf({"a", "b"});
    auto other = LettersOf({"c"});
    other = std::move(letters);
    EXPECT_EQ(Joined(other), "ab");
    EXPECT_TRUE(letters.empty()) << "moved from, it is empty";
    letters.push_back(TextOf("d"));
    EXPECT_EQ(Joined(letters), "d") << "and may be used again";
    auto &itself = other;
    other = std::move(itself);
    EXPECT_EQ(Joined(other), "ab");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceList, SwapsElementsAndWhatReleasesThem) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  char letter[] = "x";
  {
    Letters borrowed(nullptr);
    borrowed.push_back(letter);
    auto owned = LettersOf({"a", "b"});

    borrowed.swap(owned);
    EXPECT_EQ(Joined(borrowed), "ab");
    EXPECT_EQ(Joined(owned), "x");
    swap(borrowed, owned);
    EXPECT_EQ(Joined(owned), "ab");
    owned.swap(owned);
    EXPECT_EQ(Joined(owned), "ab");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceList, LeavesElementsAloneThatAreNotItsOwn) {
  int number = 7;
  {
    List<int> numbers(nullptr);
    numbers.push_back(&number);
    numbers.push_back(&number);
    numbers.pop_back();
    const auto moved = std::move(numbers);
    EXPECT_EQ(moved.front(), 7);
  }
  EXPECT_EQ(number, 7);
}

TEST(FaceList, IsAListOfC) {
  Letters letters = LettersOf({"b", "a"});

  fnQNList_Reverse(letters.get());
  const qnstack::Text taken(static_cast<char *>(fnQNList_RemoveFront(letters.get())));

  EXPECT_STREQ(taken.get(), "a");
  EXPECT_EQ(fnQNList_GetCount(std::as_const(letters).get()), 1);
}

TEST(FaceListIterator, GoesBothWays) {
  auto letters = LettersOf({"a", "b", "c"});

  auto at = letters.end();
  EXPECT_EQ(*--at, 'c');
  EXPECT_EQ(*at--, 'c');
  EXPECT_EQ(*at, 'b');
  EXPECT_EQ(*at++, 'b');
  EXPECT_EQ(++at, letters.end());
  const auto backwards = std::make_reverse_iterator(letters.end());
  EXPECT_EQ(*backwards, 'c');
  EXPECT_EQ(*std::next(backwards, 2), 'a');
}

TEST(FaceListIterator, StandsWhileTheListChangesAndMoves) {
  Letters letters;
  auto end = letters.end();
  letters.push_back(TextOf("a"));
  EXPECT_EQ(*--end, 'a') << "what was pushed since";

  letters.push_back(TextOf("b"));
  auto second = std::next(letters.begin());
  letters.erase(letters.begin());
  auto moved = std::move(letters);
  EXPECT_STREQ(&*second, "b");
  EXPECT_EQ(Joined(moved), "b");
  EXPECT_EQ(++second, moved.end());
}

TEST(FaceListIterator, IsComparedWithOneThatOnlyLooks) {
  auto letters = LettersOf({"a", "b"});
  const Letters::iterator first = letters.begin();
  const Letters::const_iterator looking = first;

  EXPECT_TRUE(first == looking && looking == first);
  EXPECT_FALSE(first != looking || looking != first);
  EXPECT_TRUE(letters.end() == letters.cend());
  EXPECT_TRUE(std::next(first) != looking);
  EXPECT_EQ(looking.node(), first.node());
  EXPECT_EQ(looking.list(), letters.get());
}

TEST(FaceListIterator, MayStandOnANodeThatAFunctionOfCGave) {
  auto letters = LettersOf({"a", "b"});
  const Letters::const_iterator last(fnQNList_EndIter(letters.get()));

  EXPECT_EQ(*last, 'b');
  EXPECT_EQ(*std::prev(last), 'a');
  Letters::iterator nowhere;
  EXPECT_EQ(--nowhere, Letters::iterator()) << "it knows no list";
}

// Three numbers in a list that is not the face's.
class FaceRange : public testing::Test {
 protected:
  FaceRange() {
    for (int &number : numbers_) fnQNList_AddTail(&list_, &number);
  }
  ~FaceRange() override { fnQNList_Clear(&list_, nullptr); }

  std::vector<int> numbers_ = {3, 1, 2};
  QNList list_ = {};
};

TEST_F(FaceRange, LooksAtAListOfSomebodyElse) {
  const QNList &looked_at = list_;
  const Range<const int> range(&looked_at);

  EXPECT_THAT(std::vector<int>(range.begin(), range.end()), ElementsAre(3, 1, 2));
  EXPECT_THAT(std::vector<int>(range.cbegin(), range.cend()), ElementsAre(3, 1, 2));
  EXPECT_EQ(*std::max_element(range.begin(), range.end()), 3);
  EXPECT_EQ(std::next(range.begin(), 2).node(), fnQNList_EndIter(&list_));
  EXPECT_EQ(range.size(), 3U);
  EXPECT_FALSE(range.empty());
  EXPECT_EQ(range.front(), 3);
  EXPECT_EQ(range.back(), 2);
}

TEST_F(FaceRange, ChangesElementsAndNotTheList) {
  for (int &number : Range<int>(&list_)) ++number;

  EXPECT_THAT(numbers_, ElementsAre(4, 2, 3));
  const Range<int>::const_iterator looking = Range<int>(&list_).begin();
  EXPECT_EQ(*looking, 4);
}

TEST_F(FaceRange, SeesWhatBecomesOfTheListAndIsEmptyWithoutOne) {
  const Range<int> range(&list_);
  fnQNList_Clear(&list_, nullptr);
  for (const Range<int> &empty : {range, Range<int>(nullptr)}) {
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.size(), 0U);
    EXPECT_EQ(empty.begin().node(), nullptr);
    EXPECT_EQ(empty.begin(), empty.end());
  }
}

}  // namespace
