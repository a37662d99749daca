// SPDX-License-Identifier: MIT
// The list beside a standard list. Who chooses the operations, a seeded
// generator or a fuzzer, is left open.
#ifndef QNSTACK_TESTS_SUPPORT_LIST_MODEL_H
#define QNSTACK_TESTS_SUPPORT_LIST_MODEL_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <utility>

#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_list.h"
#include "support/chooser.h"
#include "support/letter_list.h"

namespace qntest {

struct ListEntry {
  QNListNode *node;
  void *data;
  bool operator==(const ListEntry &) const = default;
};

using ListModel = std::list<ListEntry>;

inline int released_elements = 0;

inline void CountRelease(void * /*address*/) { ++released_elements; }

// Does the same thing to a list and to its model, one chosen step at a time.
class ListAndModel {
 public:
  explicit ListAndModel(Chooser chooser) : below_(std::move(chooser)) {}
  ~ListAndModel() { fnQNList_Clear(&list_, nullptr); }
  ListAndModel(const ListAndModel &) = delete;
  ListAndModel &operator=(const ListAndModel &) = delete;

  void Step() {
    using Operation = void (ListAndModel::*)();
    static constexpr Operation kOperations[] = {
        &ListAndModel::AddTail,    &ListAndModel::AddFront,    &ListAndModel::AddBefore,
        &ListAndModel::AddAfter,   &ListAndModel::Remove,      &ListAndModel::RemoveFront,
        &ListAndModel::RemoveTail, &ListAndModel::DeleteByNum, &ListAndModel::Swap,
        &ListAndModel::Move,       &ListAndModel::Reverse,     &ListAndModel::MoveToHead,
        &ListAndModel::FindByNum,  &ListAndModel::Find,
    };
    (this->*kOperations[Below(std::size(kOperations))])();
  }

  ::testing::AssertionResult Agree() const {
    if (const auto sound = IsSound(list_); !sound) return sound;
    ListModel actual;
    for (QNListNode *node : NodesOf(list_)) actual.push_back({node, node->data});
    if (actual != model_) return ::testing::AssertionFailure() << "list and model differ";
    return ::testing::AssertionSuccess();
  }

 private:
  size_t Below(size_t bound) { return below_(bound); }

  // Few enough that elements are met again.
  void *AnyElement() { return LetterElement(static_cast<char>('A' + Below(8))); }

  // An entry, or the end; without `or_end` the model must not be empty.
  ListModel::iterator AnyEntry(bool or_end = false) {
    const size_t places = model_.size() + (or_end ? 1 : 0);
    return std::next(model_.begin(), static_cast<std::ptrdiff_t>(Below(places)));
  }

  ListModel::iterator FirstWith(const void *data) {
    return std::find_if(model_.begin(), model_.end(),
                        [data](const ListEntry &entry) { return entry.data == data; });
  }

  void AddTail() {
    void *data = AnyElement();
    model_.push_back({fnQNList_AddTail(&list_, data), data});
  }

  void AddFront() {
    void *data = AnyElement();
    model_.push_front({fnQNList_AddFront(&list_, data), data});
  }

  void AddBefore() {
    if (model_.empty()) return;
    const auto place = AnyEntry();
    void *data = AnyElement();
    model_.insert(place, {fnQNList_AddBefore(&list_, place->node, data), data});
  }

  void AddAfter() {
    if (model_.empty()) return;
    const auto place = AnyEntry();
    void *data = AnyElement();
    model_.insert(std::next(place), {fnQNList_AddAfter(&list_, place->node, data), data});
  }

  void Remove() {
    if (model_.empty()) return;
    const auto place = AnyEntry();
    fnQNList_Remove(&list_, place->node);
    model_.erase(place);
  }

  void RemoveFront() {
    void *expected = model_.empty() ? nullptr : model_.front().data;
    EXPECT_EQ(fnQNList_RemoveFront(&list_), expected);
    if (!model_.empty()) model_.pop_front();
  }

  void RemoveTail() {
    void *expected = model_.empty() ? nullptr : model_.back().data;
    EXPECT_EQ(fnQNList_RemoveTail(&list_), expected);
    if (!model_.empty()) model_.pop_back();
  }

  void DeleteByNum() {
    const size_t index = Below(model_.size() + 2);
    const bool is_inside = index < model_.size();
    released_elements = 0;
    EXPECT_EQ(fnQNList_Delete_ByNum(&list_, static_cast<int32_t>(index), CountRelease),
              is_inside ? 1 : 0);
    EXPECT_EQ(released_elements, is_inside ? 1 : 0);
    if (is_inside) model_.erase(std::next(model_.begin(), static_cast<std::ptrdiff_t>(index)));
  }

  void Swap() {
    if (model_.empty()) return;
    const auto a = AnyEntry();
    const auto b = AnyEntry();
    fnQNList_Swap(a->node, b->node);
    std::swap(a->data, b->data);
  }

  void Move() {
    if (model_.empty()) return;
    const auto moved = AnyEntry();
    const auto before = AnyEntry(true);
    fnQNList_Move(&list_, moved->node, before == model_.end() ? nullptr : before->node);
    if (before != moved) model_.splice(before, model_, moved);
  }

  void Reverse() {
    fnQNList_Reverse(&list_);
    model_.reverse();
  }

  void MoveToHead() {
    void *data = AnyElement();
    const auto place = FirstWith(data);
    const bool is_there = place != model_.end();
    EXPECT_EQ(fnQNFS_List_MoveToHead(&list_, data), is_there ? 0 : -1);
    if (!is_there) return;
    model_.erase(place);
    model_.push_front({list_.head, data});
  }

  void FindByNum() {
    const size_t index = Below(model_.size() + 2);
    QNListNode *expected = nullptr;
    if (index < model_.size()) {
      expected = std::next(model_.begin(), static_cast<std::ptrdiff_t>(index))->node;
    }
    EXPECT_EQ(fnQNList_Find_ByNum(&list_, static_cast<int32_t>(index)), expected);
  }

  void Find() {
    void *data = AnyElement();
    const auto place = FirstWith(data);
    const bool is_there = place != model_.end();
    EXPECT_EQ(fnQNList_Find(&list_, data), is_there ? place->node : nullptr);
    EXPECT_EQ(fnQNFS_List_getPos(&list_, data),
              is_there ? static_cast<int32_t>(std::distance(model_.begin(), place)) : -1);
  }

  Chooser below_;
  QNList list_ = {};
  ListModel model_;
};

}  // namespace qntest

#endif
