// SPDX-License-Identifier: MIT
// Guards the free of a list, which frees its front alone and leaves the rest of
// the record as it was: its oddity is what callers know.
#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "qnstack/qn_list.h"
#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"

namespace {

using qntest::FailingHeap;

void ReleaseNothing(void * /*address*/) { ADD_FAILURE() << "an element was released"; }

// A list of three texts from the heap.
class QnListFree : public ::testing::Test {
 protected:
  QnListFree() {
    for (const char *text : {"one", "two", "three"}) {
      nodes_.push_back(fnQNList_AddTail(&list_, fnQN_MEMSTRCOPY(text)));
    }
  }

  // What the call under test leaves: every node but the first.
  ~QnListFree() override {
    for (size_t i = 1; i < nodes_.size(); ++i) {
      fnQN_Free(&nodes_[i]->data);
      fnQN_Free(&nodes_[i]);
    }
  }

  QNList list_ = {};
  std::vector<QNListNode *> nodes_;
};

TEST_F(QnListFree, FreesTheFirstElementAndItsNodeAndLeavesTailAndCount) {
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQNList_Free(&list_);

  EXPECT_EQ(heap.Frees(), 2);
  EXPECT_STREQ(static_cast<char *>(nodes_[1]->data), "two");
  EXPECT_STREQ(static_cast<char *>(nodes_[2]->data), "three");
  EXPECT_EQ(list_.head, nullptr);
  EXPECT_EQ(list_.tail, nodes_[2]);
  EXPECT_EQ(list_.count, 3);
}

TEST_F(QnListFree, FreesANodeLinkedBeforeTheHead) {
  list_.head->prev =
      static_cast<QNListNode *>(fnQN_Malloc_Local(sizeof(QNListNode), __FILE__, __LINE__));
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQNList_Free(&list_);

  EXPECT_EQ(heap.Frees(), 3);
}

TEST_F(QnListFree, DoesNothingForAnEmptyListNorASecondTime) {
  QNList empty = {};
  fnQNList_Free(&list_);
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQNList_Free(&list_);
  fnQNList_Free(&empty);

  EXPECT_EQ(heap.Frees(), 0);
  EXPECT_EQ(list_.count, 3);
}

TEST_F(QnListFree, LeavesAListInWhichNothingIsFoundOrRemoved) {
  fnQNList_Free(&list_);

  EXPECT_EQ(fnQNList_IsEmpty(&list_), 1);
  EXPECT_EQ(fnQNList_RemoveFront(&list_), nullptr);
  EXPECT_EQ(fnQNList_RemoveTail(&list_), nullptr);
  for (const int32_t index : {-1, 0, 1, 2}) {
    EXPECT_EQ(fnQNList_Find_ByNum(&list_, index), nullptr) << index;
    EXPECT_EQ(fnQNList_Delete_ByNum(&list_, index, ReleaseNothing), 0) << index;
  }

  EXPECT_EQ(list_.count, 3);
}

// The old tail is still linked to what is appended, not to what is put in front.
TEST_F(QnListFree, LeavesAListThatStartsAnewAtEitherEnd) {
  fnQNList_Free(&list_);

  for (const auto add : {fnQNList_AddTail, fnQNList_AddFront}) {
    const bool appends = add == fnQNList_AddTail;
    SCOPED_TRACE(appends ? "AddTail" : "AddFront");
    list_ = {nullptr, nodes_[2], 3, 0};
    nodes_[2]->next = nullptr;

    QNListNode *added = add(&list_, fnQN_MEMSTRCOPY("four"));

    EXPECT_EQ(list_.head, added);
    EXPECT_EQ(list_.tail, added);
    EXPECT_EQ(added->prev, appends ? nodes_[2] : nullptr);
    EXPECT_EQ(added->next, nullptr);
    EXPECT_EQ(nodes_[2]->next, appends ? added : nullptr);
    EXPECT_EQ(list_.count, 4);
    nodes_.push_back(added);
  }
}

}  // namespace
