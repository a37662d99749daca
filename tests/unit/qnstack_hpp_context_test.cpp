// SPDX-License-Identifier: MIT
// Guards the C++ face's contexts: their states, and that releasing or stopping
// one gives back its own slot and never another's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
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

// A context that is complete, and another that has taken its slot since and waits
// for its answer.
TEST_F(FaceContext, LeavesItsSlotToTheOneThatTookItHoweverItGoes) {
  const std::pair<const char *, std::function<void(Context &)>> ways[] = {
      {"freed", [](Context &first) { first.reset(); }},
      {"replaced", [](Context &first) { first = qnstack::OpenGet("http://h/3"); }},
      {"stopped",
       [](Context &first) {
         qnstack::Stop(first);
         EXPECT_EQ(qnstack::StateOf(first), State::kStopped);
       }},
      {"moved",
       [](Context &first) {
         Context moved = std::move(first);
         auto &itself = moved;
         moved = std::move(itself);
         EXPECT_EQ(qnstack::StateOf(moved), State::kComplete);
         EXPECT_EQ(first, nullptr);
       }},
      {"freed by any handle",
       [](Context &first) {
         const std::unique_ptr<QNHttpCtx, qnstack::Release> handle(first.release());
       }},
  };
  for (const auto &[what, let_go] : ways) {
    SCOPED_TRACE(what);
    AddAnswer("first");
    AddAnswer("second");
    Context first = qnstack::OpenGet("http://h/1");
    Context second = qnstack::OpenGet("http://h/2");
    Drive(first);
    Begin(second);
    ASSERT_EQ(first->socket, second->socket) << "the same slot";

    let_go(first);
    EXPECT_THAT(SlotTable::Taken(), ElementsAre(second->socket));
    first.reset();
    EXPECT_EQ(BodyOf(second), "second");
  }
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

TEST_F(FaceContext, GivesItsOwnSlotBackWhenItIsStoppedOrFreedInATransfer) {
  for (const bool is_stopped : {true, false}) {
    Context context = qnstack::OpenGet("http://h/");
    Begin(context);
    ASSERT_THAT(SlotTable::Taken(), ElementsAre(context->socket));
    if (is_stopped) {
      qnstack::Stop(context);
      EXPECT_EQ(qnstack::StateOf(context), State::kStopped);
    } else {
      context.reset();
      qnstack::Stop(context);  // which does nothing
      EXPECT_EQ(qnstack::StateOf(context), State::kNone);
    }
    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
}

// A context that failed keeps its slot until it is freed.
class FaceFailedContext : public FaceContext {
 protected:
  static void FreeIn(State state, Context context) {
    SCOPED_TRACE(static_cast<int>(state));
    Drive(context);
    ASSERT_EQ(qnstack::StateOf(context), state);
    ASSERT_THAT(SlotTable::Taken(), ElementsAre(context->socket));

    context.reset();

    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
};

TEST_F(FaceFailedContext, GivesItsSlotBackWhenItIsFreed) {
  FreeIn(State::kResolveFailed, qnstack::OpenGet("http://unknown/"));
  network_.Script("connect", FailWith(ECONNREFUSED));
  FreeIn(State::kSendFailed, qnstack::OpenGet("http://h/"));
  network_.AddPeer({FailWith(ECONNRESET)});
  FreeIn(State::kReceiveFailed, qnstack::OpenGet("http://h/"));
  Context given_up = qnstack::OpenGet("http://h/");
  Begin(given_up);
  given_up->tryCount = 3001;
  FreeIn(State::kGivenUp, std::move(given_up));
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

TEST_F(FaceContext, MayBeATunnelOrEmptyWhereTheHeapRefuses) {
  const auto tunnel = qnstack::OpenConnect("h", 443);
  EXPECT_STREQ(tunnel->method, "CONNECT");
  EXPECT_STREQ(tunnel->hostname, "h");
  EXPECT_EQ(tunnel->port, 443);
  EXPECT_EQ(qnstack::StateOf(tunnel), State::kNew);
  const FailingHeap heap(1);
  EXPECT_EQ(qnstack::OpenGet("http://h/"), nullptr);
}

}  // namespace
