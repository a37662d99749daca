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

constexpr int32_t kBadSlots[] = {INT32_MIN, -1, 0, 20, INT32_MAX};

class QnStackPorting : public testing::Test {
 protected:
  SlotTable table_;
  NetworkFaults network_{NetworkFaults::Mode::kOffline};
};

using QnStackSocketInit = QnStackPorting;
using QnStackCreateSocket = QnStackPorting;
using QnStackCloseSocket = QnStackPorting;
using QnStackGetHostByName = QnStackPorting;

TEST_F(QnStackSocketInit, SetsTheFlagAndIsOne) {
  qn::socket_init = 0;
  EXPECT_EQ(fnQN_Stack_SocketInit(), 1);
  EXPECT_EQ(qn::socket_init, 1);
  EXPECT_EQ(fnQN_Stack_SocketInit(), 1);
  EXPECT_EQ(qn::socket_init, 1);
}

TEST_F(QnStackSocketInit, StopClearsTheFlagAgainAndAgain) {
  fnQN_Stack_SocketInit();
  fnQN_Stack_SocketUNInit();
  EXPECT_EQ(qn::socket_init, 0);
  fnQN_Stack_SocketUNInit();
  EXPECT_EQ(qn::socket_init, 0);
}

TEST_F(QnStackSocketInit, StartAndStopLeaveOpenSocketsAlone) {
  fnQN_Stack_CreateSocket();
  const auto before = SlotTable::Entries();
  fnQN_Stack_SocketInit();
  fnQN_Stack_SocketUNInit();
  EXPECT_EQ(SlotTable::Entries(), before);
  EXPECT_EQ(network_.Count("close"), 0u);
}

TEST_F(QnStackSocketInit, SlotsCanBeUsedWithoutAStart) {
  fnQN_Stack_SocketUNInit();
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 1);
}

TEST_F(QnStackCreateSocket, AsksForAnIpv4StreamSocket) {
  fnQN_Stack_CreateSocket();
  ASSERT_THAT(network_.Names(), ElementsAre("socket"));
  EXPECT_EQ(network_.Calls()[0].text, "2," + std::to_string(1 | SOCK_CLOEXEC) + ",0");
}

TEST_F(QnStackCreateSocket, HandsOutOneToNineteenInOrder) {
  for (int32_t slot = 1; slot <= 19; ++slot) EXPECT_EQ(fnQN_Stack_CreateSocket(), slot);
  const auto made = network_.CallsOf("socket");
  for (int32_t slot = 1; slot <= 19; ++slot) {
    EXPECT_EQ(socket_list[slot].fd, made[static_cast<size_t>(slot - 1)].result);
  }
  EXPECT_EQ(socket_list[0], QNSocketSlot{});
}

TEST_F(QnStackCreateSocket, TwentiethIsZeroAndItsDescriptorIsClosed) {
  for (int i = 0; i < 19; ++i) fnQN_Stack_CreateSocket();
  const auto before = SlotTable::Entries();
  network_.ForgetCalls();

  EXPECT_EQ(fnQN_Stack_CreateSocket(), 0);

  EXPECT_EQ(SlotTable::Entries(), before);
  ASSERT_THAT(network_.Names(), ElementsAre("socket", "close"));
  EXPECT_EQ(network_.Calls()[1].fd, network_.Calls()[0].result);
}

TEST_F(QnStackCreateSocket, TwentiethIsZeroWhenThePlatformRefusesToo) {
  SlotTable::TakeAll();
  const auto before = SlotTable::Entries();
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

TEST_F(QnStackCreateSocket, ClearsTheRestOfTheSlot) {
  socket_list[1] = {0, 0x0100007f, 8080, -1};
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 1);
  EXPECT_EQ(socket_list[1], (QNSocketSlot{NetworkFaults::kFirstMadeUpDescriptor, 0, 0, 0}));
}

TEST_F(QnStackCreateSocket, RefusedSocketTakesASlotWithMinusOne) {
  network_.Script("socket", FailWith(EMFILE));
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 1);
  EXPECT_EQ(socket_list[1], (QNSocketSlot{-1, 0, 0, 0}));
  EXPECT_EQ(fnQN_Stack_CreateSocket(), 2);
}

TEST_F(QnStackCreateSocket, RefusedSocketFailsToConnect) {
  network_.Script("socket", FailWith(EMFILE));
  fnQN_Stack_CreateSocket();
  EXPECT_EQ(fnQN_Stack_Connect(1), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), EBADF);
  EXPECT_EQ(socket_list[1].connState, -1);
}

TEST_F(QnStackCloseSocket, ClosesTheDescriptorAndFreesTheSlot) {
  fnQN_Stack_CreateSocket();
  const int32_t second = fnQN_Stack_CreateSocket();
  const int fd = socket_list[second].fd;
  socket_list[second] = {fd, 0x0100007f, 80, 1};
  network_.ForgetCalls();

  fnQN_Stack_CloseSocket(second);

  EXPECT_EQ(socket_list[second], QNSocketSlot{});
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ASSERT_THAT(network_.Names(), ElementsAre("close"));
  EXPECT_EQ(network_.Calls()[0].fd, fd);
}

TEST_F(QnStackCloseSocket, ClearsAFreeSlotWithoutClosingAnything) {
  socket_list[3] = {0, 0x0100007f, 80, -1};
  fnQN_Stack_CloseSocket(3);
  EXPECT_EQ(socket_list[3], QNSocketSlot{});
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackCloseSocket, FreesASlotWhoseSocketWasRefused) {
  network_.Script("socket", FailWith(EMFILE));
  fnQN_Stack_CreateSocket();
  fnQN_Stack_CloseSocket(1);
  EXPECT_EQ(socket_list[1], QNSocketSlot{});
}

TEST_F(QnStackCloseSocket, IgnoresSlotsOutOfRange) {
  for (QNSocketSlot &slot : socket_list) slot = {1000001, 7, 8, -1};
  const auto before = SlotTable::Entries();
  for (const int32_t slot : kBadSlots) fnQN_Stack_CloseSocket(slot);
  EXPECT_EQ(SlotTable::Entries(), before);
  EXPECT_EQ(network_.Count("close"), 0u);
}

TEST_F(QnStackGetHostByName, StoresAddressAndPort) {
  network_.AddHost("mmsc.test", {"192.0.2.7"});
  const int32_t slot = fnQN_Stack_CreateSocket();
  EXPECT_EQ(fnQN_Stack_GetHostByName(slot, "mmsc.test", 8080), 1);
  EXPECT_EQ(socket_list[slot],
            (QNSocketSlot{NetworkFaults::kFirstMadeUpDescriptor, inet_addr("192.0.2.7"), 8080, 0}));
}

TEST_F(QnStackGetHostByName, TakesTheFirstAddress) {
  network_.AddHost("mmsc.test", {"192.0.2.9", "192.0.2.8"});
  fnQN_Stack_GetHostByName(1, "mmsc.test", 80);
  EXPECT_EQ(socket_list[1].addr, inet_addr("192.0.2.9"));
}

TEST_F(QnStackGetHostByName, TakesDottedAddresses) {
  EXPECT_EQ(fnQN_Stack_GetHostByName(19, "127.0.0.1", 80), 1);
  EXPECT_EQ(socket_list[19].addr, inet_addr("127.0.0.1"));
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

TEST_F(QnStackGetHostByName, UnknownNameKeepsTheAddressButStoresThePort) {
  socket_list[1] = {1000001, 7, 80, 0};
  EXPECT_EQ(fnQN_Stack_GetHostByName(1, "unknown.test", 8080), -1);
  EXPECT_EQ(socket_list[1], (QNSocketSlot{1000001, 7, 8080, 0}));
}

TEST_F(QnStackGetHostByName, NameWithoutAnAddressIsUnknown) {
  network_.AddHost("empty.test", {});
  socket_list[1] = {1000001, 7, 80, 0};
  EXPECT_EQ(fnQN_Stack_GetHostByName(1, "empty.test", 8080), -1);
  EXPECT_EQ(socket_list[1], (QNSocketSlot{1000001, 7, 8080, 0}));
}

TEST_F(QnStackGetHostByName, AllOnesAddressFailsButIsStored) {
  EXPECT_EQ(fnQN_Stack_GetHostByName(1, "255.255.255.255", 80), -1);
  EXPECT_EQ(socket_list[1], (QNSocketSlot{0, 0xFFFFFFFF, 80, 0}));
}

TEST_F(QnStackGetHostByName, AllOnesAddressOfANameFailsToo) {
  network_.AddHost("broadcast.test", {"255.255.255.255"});
  EXPECT_EQ(fnQN_Stack_GetHostByName(1, "broadcast.test", 80), -1);
  EXPECT_EQ(socket_list[1].addr, 0xFFFFFFFF);
}

TEST_F(QnStackGetHostByName, StoresTheLowSixteenBitsOfThePort) {
  fnQN_Stack_GetHostByName(1, "127.0.0.1", 65536 + 81);
  EXPECT_EQ(socket_list[1].port, 81);
  fnQN_Stack_GetHostByName(1, "127.0.0.1", -1);
  EXPECT_EQ(socket_list[1].port, 65535);
}

TEST_F(QnStackGetHostByName, RefusesSlotsOutOfRange) {
  const auto before = SlotTable::Entries();
  for (const int32_t slot : kBadSlots) {
    EXPECT_EQ(fnQN_Stack_GetHostByName(slot, "127.0.0.1", 80), -1) << slot;
  }
  EXPECT_EQ(SlotTable::Entries(), before);
  EXPECT_EQ(network_.Count("gethostbyname"), 0u);
}

TEST_F(QnStackGetHostByName, RefusesANullName) {
  const auto before = SlotTable::Entries();
  EXPECT_EQ(fnQN_Stack_GetHostByName(1, nullptr, 80), -1);
  EXPECT_EQ(SlotTable::Entries(), before);
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
