// SPDX-License-Identifier: MIT
// Guards a context whose slot another context has taken since: what it would
// send there never reaches the other one's peer. Closing and receiving mind
// nobody.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qn_stack_http_slot.h"
#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::IsEmpty;

class QnStackHttpTakenSlot : public qntest::TransferTest {
 protected:
  QnStackHttpTakenSlot() { network_.AddHost("new", {"192.0.2.5"}); }

  // A finished context whose answer redirects; its slot 1 is free.
  Context OpenRedirected() {
    network_.Script("recv", {Deliver(qntest::FoundAt("http://new/")), Give(0)});
    Context ctx = OpenSent();
    RunStep(ctx);
    EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
    return ctx;
  }

  // A context that has sent the first piece of its body on slot 1.
  Context OpenSending() const {
    Context ctx(fnQNStack_Http_Open_Post("http://h/", body_.data(),
                                         static_cast<int32_t>(body_.size()), "t"));
    EXPECT_EQ(RunStep(ctx).result, -2);
    EXPECT_EQ(ctx->socket, 1);
    return ctx;
  }

  // Follows the redirect: closes slot 1, takes it anew and sends the request.
  static void Follow(const Context &redirected) {
    char room[8];
    EXPECT_EQ(fnQNStack_Http_ReadRecvContext(redirected.get(), room, sizeof room), -2);
    EXPECT_EQ(RunStep(redirected).result, -2);
    EXPECT_EQ(redirected->socket, 1);
  }

  const std::string body_ = std::string(10000, 'b');
};

TEST_F(QnStackHttpTakenSlot, NumberOfNoSlotIsNobodys) {
  QNHttpCtx ctx = {};
  for (const int32_t number : {INT32_MIN, -1, 0, INT32_MAX}) {
    ctx.socket = number;
    EXPECT_FALSE(qn::IsSlotOfAnother(ctx)) << number;
  }
}

TEST_F(QnStackHttpTakenSlot, NextPieceOfTheBodyStaysUnsent) {
  const Context redirected = OpenRedirected();
  const Context sending = OpenSending();
  Follow(redirected);
  const uint32_t cursor = sending->sendBuf->cursor;
  network_.ForgetCalls();

  EXPECT_EQ(RunStep(sending), (Outcome{-1, -12, 1, 1, ""}));
  sending->state = QN_HTTP_SENDING;
  EXPECT_EQ(fnQNStack_Http_SendQuest(sending.get()), -1);

  EXPECT_EQ(sending->state, QN_HTTP_SEND_FAILED);
  EXPECT_EQ(sending->sendBuf->cursor, cursor);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackHttpTakenSlot, BytesOfATunnelStayUnsent) {
  fnQNStack_Http_SetProxy("gw", 8080);
  const Context redirected = OpenRedirected();
  const Context tunnel(fnQNStack_Http_Open_Connect("h", 443));
  RunStep(tunnel);
  ASSERT_EQ(tunnel->socket, 1);
  Follow(redirected);
  network_.ForgetCalls();

  EXPECT_EQ(fnQNStack_Http_Socket_SendData(tunnel.get(), "secret", 6), -1);

  EXPECT_EQ(tunnel->state, QN_HTTP_SEND_FAILED);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackHttpTakenSlot, FinishedContextSendsOnceItHasTakenItAnew) {
  const Context finished = OpenRedirected();
  const Context sending = OpenSending();
  network_.ForgetCalls();
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(finished.get(), "x", 1), -1);
  EXPECT_EQ(finished->state, QN_HTTP_COMPLETE) << "that keeps its state";
  EXPECT_THAT(network_.Names(), IsEmpty());

  Follow(finished);

  EXPECT_TRUE(network_.Sent().starts_with("GET / HTTP/1.0\r\nHost: new:80\r\n"));
}

TEST_F(QnStackHttpTakenSlot, IsReceivedFromAllTheSame) {
  const Context redirected = OpenRedirected();
  const Context sending = OpenSending();
  Follow(redirected);
  network_.Script("recv", Deliver("abc"));
  char room[8];

  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(sending.get(), room, sizeof room), 3);
}

TEST_F(QnStackHttpTakenSlot, IsClosedAllTheSame) {
  const Context redirected = OpenRedirected();
  const Context sending = OpenSending();
  Follow(redirected);

  fnQNStack_Http_Stop(sending.get());

  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

// A context's slot that was closed is nobody's until a context takes it.
TEST_F(QnStackHttpTakenSlot, SlotThatTheApplicationTookIsAnyContexts) {
  Context redirected = OpenRedirected();
  Context sending = OpenSending();
  sending.reset();
  ASSERT_EQ(fnQN_Stack_CreateSocket(), 1);
  socket_list[1].connState = 1;

  EXPECT_EQ(fnQNStack_Http_Socket_SendData(redirected.get(), "ping", 4), 4);
}

}  // namespace
