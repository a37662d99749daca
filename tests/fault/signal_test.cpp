// SPDX-License-Identifier: MIT
// Guards what a true signal makes of each call that waits: connecting, sending
// and receiving fail as for any other reason, and waiting for the lock on a
// file goes on.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "posix/posix_root.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_porting.h"
#include "support/captured_output.h"
#include "support/http_stack.h"
#include "support/signal_timer.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace qntest {
namespace {

// A loopback port whose queue is full: connecting to it waits.
class CrowdedPort {
 public:
  CrowdedPort() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    socklen_t length = sizeof address_;
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener_, Address(), length) != 0 || listen(listener_, 0) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr *>(&address_), &length) != 0) {
      std::abort();
    }
    constexpr int kCrowd = 4;
    for (int i = 0; i < kCrowd; ++i) {
      crowd_.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
      last_waits_ = connect(crowd_.back(), Address(), sizeof address_) != 0 && errno == EINPROGRESS;
    }
  }
  ~CrowdedPort() {
    for (const int fd : crowd_) close(fd);
    close(listener_);
  }
  CrowdedPort(const CrowdedPort &) = delete;
  CrowdedPort &operator=(const CrowdedPort &) = delete;

  bool IsFull() const { return last_waits_; }
  int32_t Port() const { return ntohs(address_.sin_port); }

 private:
  const sockaddr *Address() const { return reinterpret_cast<const sockaddr *>(&address_); }

  int listener_;
  sockaddr_in address_ = {};
  std::vector<int> crowd_;
  bool last_waits_ = false;
};

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
  const CrowdedPort port;
  ASSERT_TRUE(port.IsFull());
  const int32_t slot = fnQN_Stack_CreateSocket();
  ASSERT_EQ(fnQN_Stack_GetHostByName(slot, "127.0.0.1", port.Port()), 1);
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
  const CrowdedPort port;
  ASSERT_TRUE(port.IsFull());
  const std::string url = "http://127.0.0.1:" + std::to_string(port.Port()) + "/";
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
