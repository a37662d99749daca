// SPDX-License-Identifier: MIT
// Guards what a true signal makes of each call of the network that waits: connecting,
// sending and receiving fail as for any other reason.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_porting.h"
#include "support/captured_output.h"
#include "support/http_stack.h"
#include "support/loopback.h"
#include "support/signal_timer.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace qntest {
namespace {

class Interrupted : public testing::Test {
 protected:
  Interrupted() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::abort();
    fd_ = ends[0];
    peer_ = ends[1];
  }
  ~Interrupted() override { close(peer_); }

  // A context in that state, connected with the peer; the socket is its own.
  Context OpenOn(int32_t state) {
    Context ctx(fnQNStack_Http_Open_Get("http://h/"));
    ctx->socket = fnQN_Stack_CreateSocket();
    QNSocketSlot &slot = socket_list[ctx->socket];
    close(slot.fd);
    slot = {fd_, 0, 0, 1};
    ctx->state = state;
    return ctx;
  }

  // One step that a signal interrupts.
  static Outcome InterruptedStep(const Context &ctx) {
    const SignalTimer timer;
    Outcome outcome = RunStep(ctx);
    outcome.trace.clear();
    return outcome;
  }

  Watchdog watchdog_;
  SlotTable table_;
  HttpStack stack_;
  int fd_ = -1;
  int peer_ = -1;
};

TEST_F(Interrupted, ConnectFails) {
  close(fd_);
  const FullPort port;
  ASSERT_TRUE(port.IsFull());
  const int32_t slot = fnQN_Stack_CreateSocket();
  ASSERT_EQ(fnQN_Stack_GetHostByName(slot, "127.0.0.1", port.port()), 1);
  int32_t result = 0;
  int32_t error = 0;
  {
    const SignalTimer timer;
    result = fnQN_Stack_Connect(slot);
    error = fnQN_Stack_SocketError();
  }

  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EINTR);
  EXPECT_GT(SignalTimer::Count(), 0);
  EXPECT_EQ(fnQN_Stack_Connect(slot), 0) << "it stays failed";
  EXPECT_EQ(fnQN_Stack_SendData(slot, "x", 1), -1);
}

TEST_F(Interrupted, ConnectOfAContextShowsAtTheSendStep) {
  close(fd_);
  const FullPort port;
  ASSERT_TRUE(port.IsFull());
  const std::string url = "http://127.0.0.1:" + std::to_string(port.port()) + "/";
  const Context ctx(fnQNStack_Http_Open_Get(url.c_str()));

  EXPECT_EQ(InterruptedStep(ctx), (Outcome{-1, QN_HTTP_SEND_FAILED, 1, 1, ""}));
}

TEST_F(Interrupted, SendFailsAndKeepsTheRequest) {
  const std::string much(65536, 'x');
  while (send(fd_, much.data(), much.size(), MSG_DONTWAIT) > 0) {
  }
  const Context ctx = OpenOn(QN_HTTP_SENDING);
  Append(ctx->sendBuf, "GET / HTTP/1.0\r\n\r\n");

  EXPECT_EQ(InterruptedStep(ctx), (Outcome{-1, QN_HTTP_SEND_FAILED, 1, 1, ""}));
  EXPECT_GT(SignalTimer::Count(), 0);
  EXPECT_EQ(UnreadOf(ctx->sendBuf), "GET / HTTP/1.0\r\n\r\n");
}

TEST_F(Interrupted, ReceiveBeforeAnyByteFails) {
  const Context ctx = OpenOn(QN_HTTP_RECEIVING);

  EXPECT_EQ(InterruptedStep(ctx), (Outcome{-1, QN_HTTP_RECEIVE_FAILED, 1, 1, ""}));
}

TEST_F(Interrupted, ReceiveAfterSomeBytesIsTheEnd) {
  const Context ctx = OpenOn(QN_HTTP_RECEIVING);
  ASSERT_EQ(send(peer_, "abc", 3, 0), 3);

  EXPECT_EQ(InterruptedStep(ctx), (Outcome{0, QN_HTTP_COMPLETE, 1, -1, ""}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "abc");
}

}  // namespace
}  // namespace qntest
