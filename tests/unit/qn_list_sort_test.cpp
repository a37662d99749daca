// SPDX-License-Identifier: MIT
// Guards the sort of a list down to the order in which it compares: callers
// see that order through their comparator, and it decides which equal elements
// change places. A plain transcription of the procedure to an array says what
// is expected.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "qnstack/qn_list.h"
#include "support/failing_heap.h"
#include "support/letter_list.h"
#include "support/words.h"

namespace {

using qntest::FailingHeap;

// An element; `place` is where it stood at first and tells equal keys apart.
struct Item {
  int key;
  int place;
};

// The places of the two elements of one comparison.
using Comparison = std::pair<int, int>;

struct SortedOnce {
  std::vector<Comparison> comparisons;
  std::vector<int> places;  // in the order reached
  bool operator==(const SortedOnce &) const = default;
};

void PrintTo(const SortedOnce &outcome, std::ostream *out) {
  *out << "compared";
  for (const auto &[a, b] : outcome.comparisons) *out << ' ' << a << ':' << b;
  *out << ", reached";
  for (const int place : outcome.places) *out << ' ' << place;
}

// The procedure on an array. Positions count from 1, as do the flags: an
// element at a settled position is where it belongs.
class ReferenceSort {
 public:
  explicit ReferenceSort(const std::vector<int> &keys)
      : count_(static_cast<int>(keys.size())), settled_(keys.size() + 2, false) {
    items_.push_back({0, -1});
    for (int place = 0; place < count_; ++place) {
      items_.push_back({keys[static_cast<size_t>(place)], place});
    }
  }

  SortedOnce Run() {
    settled_[0] = true;
    while (current_ != count_ && count_ > 0) {
      CarryCurrent();
      if (settled_[2]) settled_[1] = true;
      AdvanceBase();
    }
    for (int i = 1; i <= count_; ++i) outcome_.places.push_back(At(i).place);
    return outcome_;
  }

 private:
  Item &At(int position) { return items_[static_cast<size_t>(position)]; }
  bool IsSettled(int position) const { return settled_[static_cast<size_t>(position)]; }
  void Settle(int position) { settled_[static_cast<size_t>(position)] = true; }
  void Swap(int a, int b) { std::swap(At(a), At(b)); }

  bool BelongsAfter(int a, int b) {
    outcome_.comparisons.emplace_back(At(a).place, At(b).place);
    return At(a).key > At(b).key;
  }

  // Carries the current element past smaller ones until a settled position or
  // the end stops it, which settles it.
  void CarryCurrent() {
    int next = current_ + 1;
    bool has_begun = false;
    while (next <= count_ && !IsSettled(next)) {
      has_begun = true;
      if (BelongsAfter(current_, next)) {
        Swap(current_, current_ + 1);
        if (next != current_ + 1) Swap(current_, next);
        ++current_;
      }
      ++next;
    }
    if (has_begun) Settle(current_);
  }

  // Finds the position from which the next element is carried.
  void AdvanceBase() {
    while (count_ >= mark_ && IsSettled(mark_) && mark_ != count_) ++mark_;
    if (count_ >= mark_ && !IsSettled(mark_)) SettleBase();
    current_ = mark_;
  }

  void SettleBase() {
    if (mark_ >= count_) {
      Settle(mark_);
    } else if (IsSettled(mark_ + 1)) {
      Settle(mark_);
      ++mark_;
    }
  }

  int count_;
  std::vector<bool> settled_;
  std::vector<Item> items_;  // the first is unused
  int current_ = 1;
  int mark_ = 1;
  SortedOnce outcome_;
};

std::vector<Comparison> recorded;

int CompareItems(const void *a, const void *b) {
  const auto *left = static_cast<const Item *>(a);
  const auto *right = static_cast<const Item *>(b);
  recorded.emplace_back(left->place, right->place);
  return left->key - right->key;
}

// A list of items with the given keys.
class ItemList {
 public:
  explicit ItemList(const std::vector<int> &keys) {
    for (const int key : keys) items_.push_back({key, static_cast<int>(items_.size())});
    for (Item &item : items_) fnQNList_AddTail(&list_, &item);
  }
  ~ItemList() { fnQNList_Clear(&list_, nullptr); }
  ItemList(const ItemList &) = delete;
  ItemList &operator=(const ItemList &) = delete;

  QNList *List() { return &list_; }

  std::vector<int> Keys() const {
    return Each([](const Item &item) { return item.key; });
  }
  std::vector<int> Places() const {
    return Each([](const Item &item) { return item.place; });
  }

 private:
  template <typename Take>
  std::vector<int> Each(Take take) const {
    EXPECT_TRUE(qntest::IsSound(list_));
    std::vector<int> taken;
    for (const QNListNode *node : qntest::NodesOf(list_)) {
      taken.push_back(take(*static_cast<const Item *>(node->data)));
    }
    return taken;
  }

  std::vector<Item> items_;
  QNList list_ = {};
};

SortedOnce SortedBy(QNListCompare compare, const std::vector<int> &keys) {
  ItemList list(keys);
  recorded.clear();
  fnQNList_Sort(list.List(), compare);
  return {recorded, list.Places()};
}

SortedOnce Sorted(const std::vector<int> &keys) { return SortedBy(CompareItems, keys); }

std::vector<int> SortedKeys(const std::vector<int> &keys) {
  std::vector<int> sorted;
  for (const int place : Sorted(keys).places) sorted.push_back(keys[static_cast<size_t>(place)]);
  return sorted;
}

// All orders of 1 to 6 different keys, and all words over three keys up to
// length 6.
std::vector<std::vector<int>> AllShortInputs() {
  std::vector<std::vector<int>> inputs;
  for (const std::string digits : {"1", "12", "123", "1234", "12345", "123456"}) {
    std::vector<int> keys(digits.begin(), digits.end());
    do {
      inputs.push_back(keys);
    } while (std::next_permutation(keys.begin(), keys.end()));
  }
  for (const std::string &word : qntest::WordsOver("abc", 6)) {
    inputs.emplace_back(word.begin(), word.end());
  }
  return inputs;
}

TEST(QnListSort, ComparesAndExchangesAsTheProcedureSays) {
  std::vector<std::vector<int>> inputs = AllShortInputs();
  std::vector<int> longer;
  for (int i = 0; i < 200; ++i) longer.push_back(i * 7919 % 101);
  inputs.push_back(longer);
  for (const std::vector<int> &keys : inputs) {
    ASSERT_EQ(Sorted(keys), ReferenceSort(keys).Run()) << ::testing::PrintToString(keys);
  }
}

TEST(QnListSort, PutsEveryShortInputInAscendingOrder) {
  for (const std::vector<int> &keys : AllShortInputs()) {
    std::vector<int> expected = keys;
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(SortedKeys(keys), expected) << ::testing::PrintToString(keys);
  }
}

TEST(QnListSort, GivesKnownResults) {
  const SortedOnce five = Sorted({5, 1, 4, 2, 3});

  EXPECT_EQ(five.places, (std::vector<int>{1, 3, 4, 2, 0}));
  EXPECT_EQ(five.comparisons,
            (std::vector<Comparison>{
                {0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2}, {1, 3}, {1, 4}, {2, 3}, {2, 4}, {3, 4}}));
  EXPECT_EQ(Sorted({2, 3, 1}).comparisons, (std::vector<Comparison>{{0, 1}, {0, 2}}));
  EXPECT_EQ(Sorted({3, 5, 5, 1}).places, (std::vector<int>{3, 0, 2, 1})) << "equal ones change";
  EXPECT_EQ(Sorted({1, 2, 3, 4, 5}).places, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(Sorted({7, 7, 7, 7, 7}).places, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(QnListSort, ComparesEveryPairOfOrderedInput) {
  for (int count = 0; count <= 20; ++count) {
    std::vector<int> ascending;
    for (int key = 0; key < count; ++key) ascending.push_back(key);
    const std::vector<int> descending(ascending.rbegin(), ascending.rend());
    const std::vector<int> equal(ascending.size(), 7);
    const auto all_pairs = static_cast<size_t>(count * (count - 1) / 2);

    EXPECT_EQ(Sorted(ascending).comparisons.size(), all_pairs) << count;
    EXPECT_EQ(Sorted(descending).comparisons.size(), all_pairs) << count;
    EXPECT_EQ(Sorted(equal).comparisons.size(), all_pairs) << count;
  }
}

TEST(QnListSort, KeepsNodesAndMovesData) {
  ItemList list({5, 1, 4, 2, 3});
  list.List()->reserved = 0xABCD;
  const std::vector<QNListNode *> nodes = qntest::NodesOf(*list.List());

  fnQNList_Sort(list.List(), CompareItems);

  EXPECT_EQ(list.Keys(), (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(qntest::NodesOf(*list.List()), nodes);
  EXPECT_EQ(list.List()->reserved, 0xABCDU);
}

int CompareByExtremes(const void *a, const void *b) {
  return CompareItems(a, b) > 0 ? INT_MAX : INT_MIN;
}

TEST(QnListSort, MindsTheSignOfTheResultAlone) {
  const std::vector<int> keys = {3, 1, 2, 3, 1};

  EXPECT_EQ(SortedBy(CompareByExtremes, keys), Sorted(keys));
}

TEST(QnListSort, ReturnsTheList) {
  ItemList several({2, 1});
  ItemList empty({});

  EXPECT_EQ(fnQNList_Sort(several.List(), CompareItems), several.List());
  EXPECT_EQ(fnQNList_Sort(empty.List(), CompareItems), empty.List());
}

TEST(QnListSort, GivesItsOneByteForEachElementAndOneMoreBack) {
  ItemList list({5, 1, 4, 2, 3});
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQNList_Sort(list.List(), CompareItems);

  EXPECT_EQ(heap.Allocations(), 1);
  EXPECT_EQ(heap.BytesAsked(), 6U);
  EXPECT_EQ(heap.Frees(), 1);
}

TEST(QnListSort, SortsNothingWhenTheHeapRefuses) {
  ItemList list({2, 1});
  recorded.clear();

  const auto sort = [&] { return fnQNList_Sort(list.List(), CompareItems); };
  EXPECT_EQ(qntest::WithRefusal(1, sort), nullptr);

  EXPECT_TRUE(recorded.empty());
  EXPECT_EQ(list.Keys(), (std::vector<int>{2, 1}));
}

}  // namespace
