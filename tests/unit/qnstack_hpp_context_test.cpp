// SPDX-License-Identifier: MIT
// Guards the C++ face's contexts: their states, and that releasing or stopping
// one gives back its own slot and never another's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using qnstack::Context;
using qnstack::Result;
using qnstack::State;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_nothrow_move_constructible_v<Context>);
static_assert(std::is_nothrow_move_assignable_v<Context>);
static_assert(!std::is_copy_constructible_v<Context>);
static_assert(!std::is_copy_assignable_v<Context>);
static_assert(!std::is_invocable_v<decltype(&qnstack::Stop), const Context &>);

class FaceContext : public qntest::TransferTest {
 protected:
  // A peer that answers the next connection whole.
  void AddAnswer(const std::string &body) {
    network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\n" + body), Give(0)});
  }

  // Takes a slot and sends the request.
  static void Begin(const Context &context) {
    EXPECT_EQ(fnQNStack_Http_Run(context.get()), -2);
    EXPECT_EQ(qnstack::StateOf(context), State::kSending);
  }

  static void Drive(const Context &context) {
    while (fnQNStack_Http_Run(context.get()) == -2) continue;
  }

  static std::string BodyOf(Context &context) {
    std::string body;
    EXPECT_EQ(qnstack::ReadBody(context, body), Result::kDone);
    return body;
  }
};

// A context that is complete, and another that has taken its slot since and
// waits for its answer.
class FaceCompleteContext : public FaceContext {
 protected:
  FaceCompleteContext() {
    AddAnswer("first");
    AddAnswer("second");
    Drive(first_);
    Begin(second_);
    EXPECT_EQ(first_->socket, second_->socket) << "the same slot";
  }

  Context first_ = qnstack::OpenGet("http://h/1");
  Context second_ = qnstack::OpenGet("http://h/2");
};

TEST_F(FaceCompleteContext, LeavesTheSlotToTheOtherWhenItIsFreed) {
  first_.reset();

  EXPECT_THAT(SlotTable::Taken(), ElementsAre(second_->socket));
  EXPECT_EQ(BodyOf(second_), "second");
}

TEST_F(FaceCompleteContext, LeavesTheSlotToTheOtherWhenItIsReplaced) {
  first_ = qnstack::OpenGet("http://h/3");

  EXPECT_EQ(BodyOf(second_), "second");
}

TEST_F(FaceCompleteContext, LeavesTheSlotToTheOtherWhenItIsStopped) {
  qnstack::Stop(first_);

  EXPECT_EQ(qnstack::StateOf(first_), State::kStopped);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(second_->socket));
  first_.reset();
  EXPECT_EQ(BodyOf(second_), "second");
}

TEST_F(FaceCompleteContext, LeavesTheSlotToTheOtherWhenItHasMoved) {
  {
    Context moved = std::move(first_);
    auto &itself = moved;
    moved = std::move(itself);
    EXPECT_EQ(qnstack::StateOf(moved), State::kComplete);
    EXPECT_EQ(first_, nullptr);
  }
  EXPECT_EQ(BodyOf(second_), "second");
}

TEST_F(FaceCompleteContext, LeavesTheSlotToTheOtherWhenAnyHandleFreesIt) {
  std::unique_ptr<QNHttpCtx, qnstack::Release> handle(first_.release());

  handle.reset();

  EXPECT_EQ(BodyOf(second_), "second");
}

TEST_F(FaceContext, LeavesTheSlotToTheOtherWhenItsRedirectIsRead) {
  network_.AddPeer({Deliver("HTTP/1.0 302 Found\r\nLocation: http://h/new\r\n\r\n"), Give(0)});
  AddAnswer("second");
  AddAnswer("new");
  Context redirected = qnstack::OpenGet("http://h/1");
  Context second = qnstack::OpenGet("http://h/2");
  Drive(redirected);
  Begin(second);
  ASSERT_EQ(redirected->socket, second->socket) << "the same slot";

  EXPECT_EQ(BodyOf(redirected), "new");

  EXPECT_THAT(SlotTable::Taken(), ElementsAre(second->socket));
}

TEST_F(FaceContext, GivesItsOwnSlotBackWhenItIsStopped) {
  Context context = qnstack::OpenGet("http://h/");
  Begin(context);

  qnstack::Stop(context);

  EXPECT_EQ(qnstack::StateOf(context), State::kStopped);
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(FaceContext, IsNotStoppedWhereThereIsNone) {
  Context none;

  qnstack::Stop(none);

  EXPECT_EQ(qnstack::StateOf(none), State::kNone);
}

TEST_F(FaceContext, GivesItsSlotBackInTheMiddleOfATransfer) {
  Context context = qnstack::OpenGet("http://h/");
  Begin(context);
  ASSERT_THAT(SlotTable::Taken(), ElementsAre(context->socket));

  context.reset();

  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

// A context that failed keeps its slot until it is freed.
class FaceFailedContext : public FaceContext {
 protected:
  static void FreeIn(State state, Context context) {
    Drive(context);
    ASSERT_EQ(qnstack::StateOf(context), state);
    ASSERT_THAT(SlotTable::Taken(), ElementsAre(context->socket));

    context.reset();

    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
};

TEST_F(FaceFailedContext, GivesItsSlotBackAfterResolving) {
  FreeIn(State::kResolveFailed, qnstack::OpenGet("http://unknown/"));
}

TEST_F(FaceFailedContext, GivesItsSlotBackAfterSending) {
  network_.Script("connect", FailWith(ECONNREFUSED));
  FreeIn(State::kSendFailed, qnstack::OpenGet("http://h/"));
}

TEST_F(FaceFailedContext, GivesItsSlotBackAfterReceiving) {
  network_.AddPeer({FailWith(ECONNRESET)});
  FreeIn(State::kReceiveFailed, qnstack::OpenGet("http://h/"));
}

TEST_F(FaceFailedContext, GivesItsSlotBackAfterGivingUp) {
  Context context = qnstack::OpenGet("http://h/");
  Begin(context);
  context->tryCount = 3001;
  FreeIn(State::kGivenUp, std::move(context));
}

TEST_F(FaceContext, IsGivenBackWhole) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    AddAnswer("body");
    Context context = qnstack::OpenGet("http://h/");
    Context moved = std::move(context);
    std::string text;
    EXPECT_EQ(qnstack::ReadBody(moved, text, 2), Result::kData);
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST_F(FaceContext, IsEmptyWhereTheHeapRefuses) {
  const FailingHeap heap(1);

  EXPECT_EQ(qnstack::OpenGet("http://h/"), nullptr);
}

TEST_F(FaceContext, MayBeATunnel) {
  const auto tunnel = qnstack::OpenConnect("h", 443);

  EXPECT_STREQ(tunnel->method, "CONNECT");
  EXPECT_STREQ(tunnel->hostname, "h");
  EXPECT_EQ(tunnel->port, 443);
}

TEST_F(FaceContext, HasTheStatesOfC) {
  const Context context = qnstack::OpenGet("http://h/");

  EXPECT_EQ(qnstack::StateOf(context), State::kNew);
  Drive(context);
  EXPECT_EQ(qnstack::StateOf(context), State::kComplete);
  EXPECT_EQ(qnstack::StateOf(Context()), State::kNone);
}

}  // namespace
