// SPDX-License-Identifier: MIT
// Guards the socket layer's table: which slot is taken and given back when, and
// what resolving stores in it.
#include "qnstack/qn_stack_porting.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <climits>
#include <iterator>
#include <string>
#include <vector>

#include "qn_stack_porting_internal.h"
#include "support/network_faults.h"
#include "support/slot_table.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

class QnStackPorting : public testing::Test {
 protected:
  SlotTable table_;
  NetworkFaults network_{NetworkFaults::Mode::kOffline};
};

using QnStackSocketInit = QnStackPorting;
using QnStackCreateSocket = QnStackPorting;
using QnStackCloseSocket = QnStackPorting;
using QnStackGetHostByName = QnStackPorting;

TEST_F(QnStackSocketInit, SetsAFlagThatStopClearsAndLeavesSocketsAlone) {
  fnQN_Stack_SocketUNInit();
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 1) << "slots can be used without a start";
  const auto before = SlotTable::Entries();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(fnQN_Stack_SocketInit(), 1);
    EXPECT_EQ(qn::socket_init, 1);
  }
  for (int i = 0; i < 2; ++i) {
    fnQN_Stack_SocketUNInit();
    EXPECT_EQ(qn::socket_init, 0);
  }
  EXPECT_EQ(SlotTable::Entries(), before);
  EXPECT_EQ(network_.Count("close"), 0u);
}

TEST_F(QnStackCreateSocket, HandsOutOneToNineteenInOrder) {
  for (int32_t slot = 1; slot <= 19; ++slot) {
    socket_list[slot] = {0, 0x0100007f, 8080, -1};
    EXPECT_EQ(fnQN_Stack_CreateSocket(), slot);
    const auto fd = static_cast<int32_t>(network_.Calls().back().result);
    EXPECT_EQ(socket_list[slot], (QNSocketSlot{fd, 0, 0, 0}));
    EXPECT_EQ(network_.Calls().back().text, "2," + std::to_string(1 | SOCK_CLOEXEC) + ",0");
  }
  EXPECT_EQ(network_.Names(), std::vector<std::string>(19, "socket"));
  EXPECT_EQ(socket_list[0], QNSocketSlot{});
}

TEST_F(QnStackCreateSocket, TwentiethIsZeroAndItsDescriptorIsClosed) {
  SlotTable::TakeAll();
  const auto before = SlotTable::Entries();
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 0);
  ASSERT_THAT(network_.Names(), ElementsAre("socket", "close"));
  EXPECT_EQ(network_.Calls()[1].fd, network_.Calls()[0].result);

  network_.Script("socket", FailWith(EMFILE));
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 0);
  EXPECT_EQ(SlotTable::Entries(), before);
}

TEST_F(QnStackCreateSocket, TakesTheLowestFreeSlot) {
  for (int i = 0; i < 7; ++i) fnQN_Stack_CreateSocket();
  fnQN_Stack_CloseSocket(6);
  fnQN_Stack_CloseSocket(4);
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 4);
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 6);
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 8);
}

TEST_F(QnStackCreateSocket, RefusedSocketTakesASlotWithMinusOneAndFailsToConnect) {
  network_.Script("socket", FailWith(EMFILE));
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 1);
  EXPECT_EQ(socket_list[1], (QNSocketSlot{-1, 0, 0, 0}));
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 2);
  EXPECT_EQ(fnQN_Stack_Connect(1), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), EBADF);
  EXPECT_EQ(socket_list[1].connState, -1);
  fnQN_Stack_CloseSocket(1);
  EXPECT_EQ(socket_list[1], QNSocketSlot{});
}

TEST_F(QnStackCloseSocket, ClosesTheDescriptorAndFreesTheSlot) {
  socket_list[1] = {1000001, 0x0100007f, 80, 1};
  socket_list[2] = {1000002, 0x0100007f, 80, 1};
  socket_list[3] = {0, 0x0100007f, 80, -1};  // it is free

  fnQN_Stack_CloseSocket(2);
  fnQN_Stack_CloseSocket(3);

  EXPECT_EQ(socket_list[2], QNSocketSlot{});
  EXPECT_EQ(socket_list[3], QNSocketSlot{});
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ASSERT_THAT(network_.Names(), ElementsAre("close"));
  EXPECT_EQ(network_.Calls()[0].fd, 1000002);
}

TEST_F(QnStackCloseSocket, IgnoresSlotsOutOfRange) {
  for (QNSocketSlot &slot : socket_list) slot = {1000001, 7, 8, -1};
  const auto before = SlotTable::Entries();
  for (const int32_t slot : kBadSlots) fnQN_Stack_CloseSocket(slot);
  EXPECT_EQ(SlotTable::Entries(), before);
  EXPECT_EQ(network_.Count("close"), 0u);
}

TEST_F(QnStackGetHostByName, StoresTheFirstAddressAndThePort) {
  struct Case {
    const char *name;
    int32_t port;
    int32_t result;
    const char *address;
    uint16_t stored;
  };
  constexpr Case kCases[] = {
      {"mmsc.test", 8080, 1, "192.0.2.9", 8080},
      {"127.0.0.1", 80, 1, "127.0.0.1", 80},
      {"127.0.0.1", 65536 + 81, 1, "127.0.0.1", 81},
      {"127.0.0.1", -1, 1, "127.0.0.1", 65535},
      // Without an address the one before it stays; all ones is stored, but no address.
      {"unknown.test", 8080, -1, "192.0.2.200", 8080},
      {"empty.test", 8080, -1, "192.0.2.200", 8080},
      {"255.255.255.255", 80, -1, "255.255.255.255", 80},
      {"broadcast.test", 80, -1, "255.255.255.255", 80},
  };
  network_.AddHost("mmsc.test", {"192.0.2.9", "192.0.2.8"});
  network_.AddHost("empty.test", {});
  network_.AddHost("broadcast.test", {"255.255.255.255"});
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.name);
    socket_list[1] = {1000001, inet_addr("192.0.2.200"), 7, 0};
    EXPECT_EQ(fnQN_Stack_GetHostByName(1, c.name, c.port), c.result);
    EXPECT_EQ(socket_list[1], (QNSocketSlot{1000001, inet_addr(c.address), c.stored, 0}));
  }
}

TEST_F(QnStackGetHostByName, ADottedAddressNeedsNoResolver) {
  for (const char *address : {"127.0.0.1", "0.0.0.0", "255.255.255.255", "192.0.2.200"}) {
    SCOPED_TRACE(address);
    fnQN_Stack_GetHostByName(19, address, 80);
    EXPECT_EQ(socket_list[19].addr, inet_addr(address));
  }
  EXPECT_EQ(network_.Count("gethostbyname"), 0u);
}

TEST_F(QnStackGetHostByName, WhatMerelyLooksLikeAnAddressGoesToTheResolver) {
  const char *const names[] = {"127.1",      "0127.0.0.1", "127.0.0.01",  "127.0.0.1 ",
                               "127.0.0.1.", "2130706433", "127.0.0.256", ""};
  for (const char *name : names) fnQN_Stack_GetHostByName(19, name, 80);
  EXPECT_EQ(network_.Count("gethostbyname"), std::size(names));
}

TEST_F(QnStackGetHostByName, RefusesSlotsOutOfRange) {
  const auto before = SlotTable::Entries();
  for (const int32_t slot : kBadSlots) {
    EXPECT_EQ(fnQN_Stack_GetHostByName(slot, "127.0.0.1", 80), -1) << slot;
  }
  EXPECT_EQ(SlotTable::Entries(), before);
  EXPECT_EQ(network_.Count("gethostbyname"), 0u);
}

TEST_F(QnStackPorting, SocketErrorIsErrno) {
  errno = ETIMEDOUT;
  EXPECT_EQ(fnQN_Stack_SocketError(), ETIMEDOUT);
  errno = 0;
  EXPECT_EQ(fnQN_Stack_SocketError(), 0);
}

TEST(QnStackSetNoBlock, IsOneAndLeavesSocketsBlocking) {
  const SlotTable table;
  const int32_t slot = fnQN_Stack_CreateSocket();
  EXPECT_EQ(fnQN_Stack_SetNoBlock(), 1);
  EXPECT_EQ(fcntl(socket_list[slot].fd, F_GETFL) & O_NONBLOCK, 0);
}

}  // namespace
