// SPDX-License-Identifier: MIT
// Guards connecting, sending and receiving on a slot: the results, in which
// order arguments are looked at, and that each is one call to the platform.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <cerrno>
#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "qn_stack_porting_internal.h"
#include "qnstack/qn_stack_porting.h"
#include "support/loopback.h"
#include "support/network_faults.h"
#include "support/slot_table.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

class QnStackConnection : public testing::Test {
 protected:
  // A slot that is connected without any peer.
  static constexpr int32_t kSlot = 2;
  static constexpr int kDescriptor = NetworkFaults::kFirstMadeUpDescriptor + 77;

  QnStackConnection() { socket_list[kSlot] = {kDescriptor, 0x0100007f, 80, 1}; }

  void SetConnState(int32_t state) { socket_list[kSlot].connState = state; }

  SlotTable table_;
  NetworkFaults network_{NetworkFaults::Mode::kOffline};
};

using QnStackConnect = QnStackConnection;
using QnStackSendData = QnStackConnection;
using QnStackRecvData = QnStackConnection;
using QnStackHurry = QnStackConnection;

TEST_F(QnStackConnect, ConnectsToTheResolvedAddressInOneCall) {
  socket_list[kSlot] = {kDescriptor, inet_addr("192.0.2.7"), 8080, 0};
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 1);
  EXPECT_EQ(socket_list[kSlot], (QNSocketSlot{kDescriptor, inet_addr("192.0.2.7"), 8080, 1}));
  ASSERT_THAT(network_.Names(), ElementsAre("connect"));
  const PlatformCall &call = network_.Calls()[0];
  EXPECT_EQ(call.fd, kDescriptor);
  EXPECT_EQ(call.text, "192.0.2.7:8080");
  EXPECT_EQ(call.flags, AF_INET);
  EXPECT_EQ(call.asked, 16u);
}

TEST_F(QnStackConnect, MakesNoAttemptForASlotWhoseStateIsSettled) {
  constexpr std::pair<int32_t, int32_t> kStates[] = {{1, 1}, {-1, 0}, {-2, -2}};
  for (const auto &[state, result] : kStates) {
    SetConnState(state);
    EXPECT_EQ(fnQN_Stack_Connect(kSlot), result);
    EXPECT_EQ(fnQN_Stack_Connect(kSlot), result);
    EXPECT_EQ(socket_list[kSlot].connState, state);
  }
  socket_list[0].connState = 1;  // slot 0 is not refused like everywhere else
  const auto before = SlotTable::Entries();
  EXPECT_EQ(fnQN_Stack_Connect(0), 1);
  for (const int32_t slot : {20, 21, INT32_MAX, -1, INT32_MIN}) {
    EXPECT_EQ(fnQN_Stack_Connect(slot), 0) << slot;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
  EXPECT_EQ(SlotTable::Entries(), before);
}

TEST_F(QnStackConnect, FailureIsMinusOneAndRemembered) {
  for (const int error : {ECONNREFUSED, EINTR}) {
    SetConnState(0);
    network_.Script("connect", FailWith(error));
    EXPECT_EQ(fnQN_Stack_Connect(kSlot), -1);
    EXPECT_EQ(fnQN_Stack_SocketError(), error);
    EXPECT_EQ(fnQN_Stack_Connect(kSlot), 0);
  }
  EXPECT_EQ(network_.Count("connect"), 2u);
}

TEST_F(QnStackConnect, AnyOtherStateMakesAnAttempt) {
  SetConnState(5);
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 1);
  EXPECT_EQ(network_.Count("connect"), 1u);
}

// Where a slot has no socket, descriptor 0 is somebody else's.
TEST_F(QnStackConnect, FreeSlotFailsOnceAndNeverConnectsDescriptorZero) {
  for (const int32_t slot : {0, 7}) {
    EXPECT_EQ(fnQN_Stack_Connect(slot), -1);
    EXPECT_EQ(socket_list[slot].connState, -1);
    EXPECT_EQ(fnQN_Stack_Connect(slot), 0);
  }
  for (const PlatformCall &call : network_.CallsOf("connect")) EXPECT_NE(call.fd, 0);
}

TEST_F(QnStackSendData, SendsInOneCallThatRaisesNoSignal) {
  EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 5), 5);
  ASSERT_THAT(network_.Names(), ElementsAre("send"));
  const PlatformCall &call = network_.Calls()[0];
  EXPECT_EQ(call.fd, kDescriptor);
  EXPECT_EQ(call.asked, 5u);
  EXPECT_EQ(call.flags, MSG_NOSIGNAL);
  EXPECT_EQ(call.text, "hello");
}

TEST_F(QnStackSendData, ShortSendIsLeftToTheCallerAndCountZeroToThePlatform) {
  network_.Script("send", AtMost(2));
  EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 5), 2);
  EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 0), 0);
  EXPECT_EQ(network_.Count("send"), 2u);
}

TEST_F(QnStackSendData, AnyNegativeResultIsMinusOne) {
  for (const int error : {ECONNRESET, EAGAIN, EINTR, EPIPE}) {
    network_.Script("send", FailWith(error));
    EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 5), -1);
    EXPECT_EQ(fnQN_Stack_SocketError(), error);
  }
  network_.Script("send", Give(-5));
  EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 5), -1);
  EXPECT_EQ(network_.Count("send"), 5u);
}

// First the slot is looked at, then the pointer, then the connection and the count.
TEST_F(QnStackConnection, NothingIsSentOrReceivedForWrongArguments) {
  struct Case {
    int32_t slot;
    int32_t state;
    bool is_null;
    int32_t count;
    int32_t result;
  };
  std::vector<Case> cases = {{kSlot, 0, false, 1, -1},  {kSlot, -1, false, 1, -1},
                             {kSlot, -2, false, 1, -1}, {kSlot, 2, false, 1, -1},
                             {kSlot, 1, true, 1, -3},   {kSlot, 0, true, 1, -3},
                             {kSlot, -1, true, 1, -3},  {kSlot, -2, true, 1, -3},
                             {kSlot, 1, false, -1, -1}, {kSlot, 1, false, INT32_MIN, -1}};
  for (const int32_t slot : kBadSlots) {
    cases.push_back({slot, 1, false, 1, -1});
    cases.push_back({slot, 1, true, 1, -1});
  }
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::Message() << "slot " << c.slot << ", state " << c.state << ", null "
                                    << c.is_null << ", count " << c.count);
    SetConnState(c.state);
    char byte = 'x';
    EXPECT_EQ(fnQN_Stack_SendData(c.slot, c.is_null ? nullptr : &byte, c.count), c.result);
    EXPECT_EQ(fnQN_Stack_RecvData(c.slot, c.is_null ? nullptr : &byte, c.count), c.result);
    EXPECT_THAT(network_.Names(), IsEmpty());
  }
}

TEST_F(QnStackRecvData, ReceivesInOneCallWithoutFlags) {
  char bytes[8] = "-------";
  network_.Script("recv", Deliver("abc"));
  EXPECT_EQ(fnQN_Stack_RecvData(kSlot, bytes, 7), 3);
  EXPECT_STREQ(bytes, "abc----");
  ASSERT_THAT(network_.Names(), ElementsAre("recv"));
  const PlatformCall &call = network_.Calls()[0];
  EXPECT_EQ(call.fd, kDescriptor);
  EXPECT_EQ(call.asked, 7u);
  EXPECT_EQ(call.flags, 0);
}

TEST_F(QnStackRecvData, ClosedPeerIsZeroAndAnyNegativeResultMinusOne) {
  char byte = 0;
  network_.Script("recv", Give(0));
  EXPECT_EQ(fnQN_Stack_RecvData(kSlot, &byte, 1), 0);
  EXPECT_EQ(socket_list[kSlot].connState, 1);
  for (const int error : {ECONNRESET, EAGAIN, EINTR}) {
    network_.Script("recv", FailWith(error));
    EXPECT_EQ(fnQN_Stack_RecvData(kSlot, &byte, 1), -1);
    EXPECT_EQ(fnQN_Stack_SocketError(), error);
  }
  EXPECT_EQ(network_.Count("recv"), 4u);
}

TEST_F(QnStackHurry, TurnsOffTheKernelsWaitOnTheSlotsSocket) {
  qn::HurryLastChunk(kSlot);
  ASSERT_THAT(network_.Names(), ElementsAre("setsockopt"));
  EXPECT_EQ(network_.Calls()[0].fd, kDescriptor);
  EXPECT_EQ(network_.Calls()[0].text, std::to_string(IPPROTO_TCP));
  EXPECT_EQ(network_.Calls()[0].flags, TCP_NODELAY);
}

TEST_F(QnStackHurry, LeavesDescriptorsAloneThatAreNotConnected) {
  for (const int32_t state : {0, -1, -2}) {
    SetConnState(state);
    qn::HurryLastChunk(kSlot);
  }
  for (const int32_t slot : kBadSlots) qn::HurryLastChunk(slot);
  socket_list[kSlot] = {};
  qn::HurryLastChunk(kSlot);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST(QnStackLoopback, RefusedConnectionFailsOnce) {
  const SlotTable table;
  const qntest::RefusingPort nobody;
  const int32_t slot = fnQN_Stack_CreateSocket();
  EXPECT_EQ(fnQN_Stack_GetHostByName(slot, "127.0.0.1", nobody.port()), 1);
  EXPECT_EQ(fnQN_Stack_Connect(slot), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), ECONNREFUSED);
  EXPECT_EQ(fnQN_Stack_Connect(slot), 0);
  EXPECT_EQ(fnQN_Stack_SendData(slot, "x", 1), -1);
}

}  // namespace
