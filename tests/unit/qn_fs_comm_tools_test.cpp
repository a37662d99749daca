// SPDX-License-Identifier: MIT
// Guards the small tools of the file services that call back and log: the
// dispatch of timers, the callback trampoline and the log's place.
#include "qnstack/qn_fs_comm_tools.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qn_fs_comm_tools_internal.h"
#include "qnstack/qn_list.h"
#include "support/captured_output.h"
#include "support/failing_heap.h"

namespace {

using qn::Timer;
using qntest::FailingHeap;

// A port that fills the list relies on the order.
static_assert(offsetof(Timer, function) == 0);
static_assert(offsetof(Timer, argument) == sizeof(void *));
static_assert(offsetof(Timer, id) == 2 * sizeof(void *));

std::vector<intptr_t> timer_calls;  // the arguments

constexpr auto kWide = static_cast<intptr_t>(0x1122334455667788);

// Its result needs all bits of the argument.
intptr_t NoteTimer(intptr_t argument) {
  timer_calls.push_back(argument);
  return argument + 1;
}

class QnTimer : public testing::Test {
 protected:
  QnTimer() {
    timer_calls.clear();
    qn::timer_list = &list_;
  }
  ~QnTimer() override {
    qn::timer_list = nullptr;
    fnQNList_Clear(&list_, nullptr);
  }

  // A null stands for a node whose element is gone; the list takes none itself.
  void Fill(const std::vector<Timer *> &timers) {
    for (Timer *timer : timers) fnQNList_AddTail(&list_, &one_)->data = timer;
  }

  std::vector<const void *> Elements() const {
    std::vector<const void *> elements;
    for (const QNListNode *node = list_.head; node != nullptr; node = node->next) {
      elements.push_back(node->data);
    }
    return elements;
  }

  QNList list_ = {};
  Timer one_ = {NoteTimer, 11, 1};
  Timer two_ = {NoteTimer, kWide, 2};
  Timer other_two_ = {NoteTimer, 33, 2};
  Timer idle_two_ = {nullptr, 44, 2};
  Timer last_ = {NoteTimer, -5, UINT32_MAX};
};

TEST_F(QnTimer, CallsTheFirstOfANumberAndKeepsIt) {
  Fill({&one_, &two_, &other_two_, &last_});

  EXPECT_EQ(fnQNFS_TimerCallback(2), kWide + 1);

  EXPECT_EQ(timer_calls, std::vector<intptr_t>{kWide});
  EXPECT_EQ(Elements(), (std::vector<const void *>{&one_, &two_, &other_two_, &last_}));
  EXPECT_EQ(list_.count, 4);
}

TEST_F(QnTimer, ComparesAllBitsOfTheNumberAndCallsNothingForAnUnknownOne) {
  Fill({&one_, &two_, &last_});

  for (const uint32_t unknown : {0U, 3U, 0x10001U}) {
    EXPECT_EQ(fnQNFS_TimerCallback(unknown), 0);
  }
  EXPECT_EQ(fnQNFS_TimerCallback(UINT32_MAX), -4);

  EXPECT_EQ(timer_calls, std::vector<intptr_t>{-5});
}

TEST_F(QnTimer, CallsNothingFromAnEmptyListOrWithoutOne) {
  EXPECT_EQ(fnQNFS_TimerCallback(1), 0);
  qn::timer_list = nullptr;
  EXPECT_EQ(fnQNFS_TimerCallback(0), 0);
  EXPECT_EQ(fnQNFS_TimerCallback(1), 0);

  EXPECT_TRUE(timer_calls.empty());
}

TEST_F(QnTimer, StopsAtATimerWithoutAFunction) {
  Fill({&one_, &idle_two_, &two_});

  EXPECT_EQ(fnQNFS_TimerCallback(2), 0);

  EXPECT_TRUE(timer_calls.empty());
  EXPECT_EQ(Elements(), (std::vector<const void *>{&one_, &idle_two_, &two_}));
}

TEST_F(QnTimer, TakesEmptyElementsOutOnItsWay) {
  Fill({nullptr, nullptr, &one_, nullptr, &two_, nullptr});
  const FailingHeap heap(FailingHeap::kCountOnly);

  EXPECT_EQ(fnQNFS_TimerCallback(2), kWide + 1);

  EXPECT_EQ(heap.Frees(), 3);
  EXPECT_EQ(Elements(), (std::vector<const void *>{&one_, &two_, nullptr}));
  EXPECT_EQ(list_.count, 3);
  EXPECT_EQ(timer_calls, std::vector<intptr_t>{kWide});
}

TEST_F(QnTimer, TakesEmptyElementsOutUpToTheEndAndMayLeaveTheListEmpty) {
  Fill({&one_, nullptr, nullptr});
  EXPECT_EQ(fnQNFS_TimerCallback(7), 0);
  EXPECT_EQ(Elements(), std::vector<const void *>{&one_});
  EXPECT_EQ(list_.tail, list_.head);
  list_.head->data = nullptr;

  EXPECT_EQ(fnQNFS_TimerCallback(0), 0);

  EXPECT_EQ(list_.head, nullptr);
  EXPECT_EQ(list_.tail, nullptr);
  EXPECT_EQ(list_.count, 0);
}

TEST_F(QnTimer, IsNeitherStartedNorStoppedNorReleased) {
  Fill({&one_, &two_});
  const FailingHeap heap(FailingHeap::kCountOnly);

  for (QNList *list : {&list_, static_cast<QNList *>(nullptr)}) {
    qn::timer_list = list;
    EXPECT_EQ(fnQNFS_SetTimer(3, 0, NoteTimer, 55), 1);
    EXPECT_EQ(fnQNFS_SetTimer(1, 1000, nullptr, 0), 1);
    fnQNFS_CancelTimer(1);
    fnQNFS_ReleaseTimerList();
    EXPECT_EQ(qn::timer_list, list) << "none is made";
  }

  EXPECT_EQ(heap.Allocations() + heap.Frees(), 0);
  EXPECT_EQ(Elements(), (std::vector<const void *>{&one_, &two_}));
  EXPECT_TRUE(timer_calls.empty());
}

using Arguments = std::array<intptr_t, 8>;

Arguments passed;

intptr_t NoteArguments(intptr_t context, intptr_t a1, intptr_t a2, intptr_t a3, intptr_t a4,
                       intptr_t a5, intptr_t a6, intptr_t a7) {
  passed = {context, a1, a2, a3, a4, a5, a6, a7};
  return kWide;
}

TEST(QnFsCallBackOper, PassesContextAndAllSevenArguments) {
  const QNFSCallBack record = {{91, 92, 93, 94}, NoteArguments, -kWide};
  passed = {};

  EXPECT_EQ(fnQNFS_CallBackOper(&record, kWide + 1, -2, 3, INTPTR_MAX, INTPTR_MIN, 6, kWide + 7),
            kWide);

  EXPECT_EQ(passed, (Arguments{-kWide, kWide + 1, -2, 3, INTPTR_MAX, INTPTR_MIN, 6, kWide + 7}));
}

class QnFsPrintLog : public testing::Test {
 protected:
  ~QnFsPrintLog() override { fnQNFS_printLog_param(nullptr, 0); }
};

TEST_F(QnFsPrintLog, KeepsThePlaceFromTheLastBackslashOn) {
  struct Case {
    const char *path;
    const char *kept;
    int32_t line;
  };
  constexpr Case kCases[] = {
      {R"(C:\src\fs\record.c)", R"(\record.c)", 12},
      {R"(\record.c)", R"(\record.c)", INT32_MAX},
      {R"(src/fs\record.c)", R"(\record.c)", INT32_MIN},
      {R"(src\fs/record.c)", R"(\fs/record.c)", -1},
      {R"(src\)", R"(\)", 0},
      {"./common/src/record.c", "./common/src/record.c", 7},
      {"record.c", "record.c", 8},
      {"", "", 9},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.path);

    fnQNFS_printLog_param(c.path, c.line);

    EXPECT_STREQ(qn::log_file, c.kept);
    EXPECT_EQ(qn::log_line, c.line);
  }
}

TEST_F(QnFsPrintLog, KeepsACopyOfTheLastPathAlone) {
  std::string path = R"(src\first.c)";
  fnQNFS_printLog_param(nullptr, 0);
  const FailingHeap heap(FailingHeap::kCountOnly);

  fnQNFS_printLog_param(path.c_str(), 1);
  path = "overwritten";
  EXPECT_STREQ(qn::log_file, R"(\first.c)");
  fnQNFS_printLog_param(qn::log_file, 2);
  EXPECT_STREQ(qn::log_file, R"(\first.c)") << "the copy itself";
  fnQNFS_printLog_param("second.c", 3);

  EXPECT_STREQ(qn::log_file, "second.c");
  EXPECT_EQ(heap.LiveBlocks(), 1);
}

TEST_F(QnFsPrintLog, HasNoFileForNullOrARefusedCopy) {
  fnQNFS_printLog_param("first.c", 1);
  fnQNFS_printLog_param(nullptr, 2);
  EXPECT_EQ(qn::log_file, nullptr);
  EXPECT_EQ(qn::log_line, 2);
  fnQNFS_printLog_param("first.c", 3);
  const FailingHeap heap(1);

  fnQNFS_printLog_param("refused.c", 4);

  EXPECT_EQ(heap.Refusals(), 1);
  EXPECT_EQ(qn::log_file, nullptr);
  EXPECT_EQ(qn::log_line, 4);
}

TEST_F(QnFsPrintLog, PrintsNothingAndLeavesThePlace) {
  fnQNFS_printLog_param("record.c", 5);

  EXPECT_EQ(qntest::OutputOf([] { fnQNFS_printLog("%s at %d %ld", "text", 1, 2L); }), "");

  EXPECT_STREQ(qn::log_file, "record.c");
  EXPECT_EQ(qn::log_line, 5);
}

}  // namespace
