// SPDX-License-Identifier: MIT
// Guards which descriptors sockets get: never those of the standard streams,
// and none that a program inherits which the application starts.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_porting.h"
#include "support/forked_process.h"
#include "support/http_stack.h"
#include "support/scripted_server.h"
#include "support/slot_table.h"

namespace {

using qntest::SlotTable;

// Runs a check in a child of its own; its result is the child's exit code.
int InChild(const std::function<int()> &check) { return qntest::ForkedProcess(check).Wait(); }

bool IsStreamSocket(int fd) {
  int type = 0;
  socklen_t length = sizeof type;
  return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
}

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) != -1; }

bool IsClosedOnExec(int fd) { return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0; }

// Closes all descriptors of the standard streams.
void CloseStandardStreams() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) close(fd);
}

class QnStackLowDescriptor : public testing::TestWithParam<int> {};

TEST_P(QnStackLowDescriptor, SocketIsMovedAboveAndItIsFreeAgain) {
  const int result = InChild([] {
    close(GetParam());
    if (fnQN_Stack_CreateSocket() != 1) return 1;
    if (socket_list[1].fd <= STDERR_FILENO) return 2;
    if (!IsStreamSocket(socket_list[1].fd)) return 3;
    if (!IsClosedOnExec(socket_list[1].fd)) return 4;
    if (IsOpen(GetParam())) return 5;
    return fnQN_Stack_CreateSocket() == 2 ? 0 : 6;
  });
  EXPECT_EQ(result, 0);
}

TEST_P(QnStackLowDescriptor, TwentiethSocketLeavesItFree) {
  const int result = InChild([] {
    SlotTable::TakeAll();
    close(GetParam());
    if (fnQN_Stack_CreateSocket() != 0) return 1;
    return IsOpen(GetParam()) ? 2 : 0;
  });
  EXPECT_EQ(result, 0);
}

TEST_P(QnStackLowDescriptor, SocketThatCannotBeMovedCountsAsRefused) {
  const int result = InChild([] {
    // Every number but this one is taken or beyond the limit.
    rlimit few = {};
    getrlimit(RLIMIT_NOFILE, &few);
    few.rlim_cur = 64;
    if (setrlimit(RLIMIT_NOFILE, &few) != 0) return 1;
    while (dup(STDERR_FILENO) >= 0) {
    }
    close(GetParam());
    if (fnQN_Stack_CreateSocket() != 1) return 2;
    if (socket_list[1].fd != -1) return 3;
    return IsOpen(GetParam()) ? 4 : 0;
  });
  EXPECT_EQ(result, 0);
}

INSTANTIATE_TEST_SUITE_P(StandardStream, QnStackLowDescriptor,
                         testing::Values(STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO));

TEST(QnStackDescriptor, SocketIsMovedAboveAllStandardStreamsAtOnce) {
  const int result = InChild([] {
    CloseStandardStreams();
    fnQN_Stack_CreateSocket();
    if (socket_list[1].fd <= STDERR_FILENO) return 1;
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
      if (IsOpen(fd)) return 2;
    }
    return 0;
  });
  EXPECT_EQ(result, 0);
}

TEST(QnStackDescriptor, OrdinarySocketIsClosedOnExec) {
  const SlotTable table;
  fnQN_Stack_CreateSocket();
  EXPECT_TRUE(IsClosedOnExec(socket_list[1].fd));
}

// The trace is printed to descriptor 1, whatever that is.
TEST(QnStackDescriptor, TraceOfAProgramWithoutStandardOutputStaysOutOfTheConnection) {
  qntest::ScriptedServer server({qntest::AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc")});
  const std::string host = "127.0.0.1:" + std::to_string(server.port());
  InChild([&] {
    close(STDOUT_FILENO);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const qntest::HttpStack stack;
    const qntest::Context ctx(fnQNStack_Http_Open_Get(("http://" + host + "/").c_str()));
    char room[16];
    while (fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room) == -2) {
    }
    return 0;
  });
  EXPECT_EQ(server.Received(0),
            "GET / HTTP/1.0\r\nHost: " + host + "\r\n" + qntest::kHandsetHeaders + "\r\n");
}

}  // namespace
