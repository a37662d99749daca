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
#include <vector>

#include "qn_stack_porting_internal.h"
#include "qnstack/qn_stack_porting.h"
#include "support/network_faults.h"
#include "support/scripted_server.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int32_t kBadSlots[] = {INT32_MIN, -1, 0, 20, INT32_MAX};

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

TEST_F(QnStackConnect, ConnectedSlotIsOneAtOnce) {
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 1);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackConnect, FailureIsMinusOneAndRemembered) {
  SetConnState(0);
  network_.Script("connect", FailWith(ECONNREFUSED));
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), ECONNREFUSED);
  EXPECT_EQ(socket_list[kSlot].connState, -1);
}

TEST_F(QnStackConnect, FailedSlotIsZeroWithoutANewAttempt) {
  SetConnState(-1);
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 0);
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 0);
  EXPECT_THAT(network_.Names(), IsEmpty());
  EXPECT_EQ(socket_list[kSlot].connState, -1);
}

TEST_F(QnStackConnect, SlotUnderWayIsMinusTwo) {
  SetConnState(-2);
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), -2);
  EXPECT_THAT(network_.Names(), IsEmpty());
  EXPECT_EQ(socket_list[kSlot].connState, -2);
}

TEST_F(QnStackConnect, InterruptedAttemptIsAFailure) {
  SetConnState(0);
  network_.Script("connect", FailWith(EINTR));
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), -1);
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 0);
  EXPECT_EQ(network_.Count("connect"), 1u);
}

TEST_F(QnStackConnect, AnyOtherStateMakesAnAttempt) {
  SetConnState(5);
  EXPECT_EQ(fnQN_Stack_Connect(kSlot), 1);
  EXPECT_EQ(network_.Count("connect"), 1u);
}

TEST_F(QnStackConnect, SlotsOutOfRangeAreZeroAndUntouched) {
  const auto before = SlotTable::Entries();
  for (const int32_t slot : {20, 21, INT32_MAX, -1, INT32_MIN}) {
    EXPECT_EQ(fnQN_Stack_Connect(slot), 0) << slot;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
  EXPECT_EQ(SlotTable::Entries(), before);
}

// Slot 0 is not refused like everywhere else; it fails as a free slot does.
TEST_F(QnStackConnect, SlotZeroIsTriedAndFailsOnce) {
  EXPECT_EQ(fnQN_Stack_Connect(0), -1);
  EXPECT_EQ(socket_list[0].connState, -1);
  EXPECT_EQ(fnQN_Stack_Connect(0), 0);
}

TEST_F(QnStackConnect, SlotZeroThatCountsAsConnectedIsOne) {
  socket_list[0].connState = 1;
  EXPECT_EQ(fnQN_Stack_Connect(0), 1);
}

TEST_F(QnStackConnect, FreeSlotFailsOnce) {
  EXPECT_EQ(fnQN_Stack_Connect(7), -1);
  EXPECT_EQ(socket_list[7].connState, -1);
  EXPECT_EQ(fnQN_Stack_Connect(7), 0);
}

// Where a slot has no socket, descriptor 0 is somebody else's.
TEST_F(QnStackConnect, NeverConnectsDescriptorZero) {
  fnQN_Stack_Connect(0);
  fnQN_Stack_Connect(7);
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

TEST_F(QnStackSendData, ShortSendIsLeftToTheCaller) {
  network_.Script("send", AtMost(2));
  EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 5), 2);
  EXPECT_EQ(network_.Count("send"), 1u);
}

TEST_F(QnStackSendData, CountZeroIsAskedOfThePlatformToo) {
  EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 0), 0);
  EXPECT_EQ(network_.Count("send"), 1u);
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

TEST_F(QnStackSendData, RefusesSlotsOutOfRangeBeforeAllElse) {
  for (const int32_t slot : kBadSlots) {
    EXPECT_EQ(fnQN_Stack_SendData(slot, "hello", 5), -1) << slot;
    EXPECT_EQ(fnQN_Stack_SendData(slot, nullptr, 5), -1) << slot;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackSendData, NullBytesAreMinusThreeBeforeTheConnectionIsLookedAt) {
  for (const int32_t state : {1, 0, -1, -2}) {
    SetConnState(state);
    EXPECT_EQ(fnQN_Stack_SendData(kSlot, nullptr, 5), -3) << state;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackSendData, RefusesASlotThatIsNotConnected) {
  for (const int32_t state : {0, -1, -2, 2}) {
    SetConnState(state);
    EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", 5), -1) << state;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackSendData, RefusesNegativeCounts) {
  for (const int32_t count : {-1, INT32_MIN}) {
    EXPECT_EQ(fnQN_Stack_SendData(kSlot, "hello", count), -1);
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
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

TEST_F(QnStackRecvData, ClosedPeerIsZero) {
  char byte = 0;
  network_.Script("recv", Give(0));
  EXPECT_EQ(fnQN_Stack_RecvData(kSlot, &byte, 1), 0);
  EXPECT_EQ(socket_list[kSlot].connState, 1);
}

TEST_F(QnStackRecvData, AnyNegativeResultIsMinusOne) {
  char byte = 0;
  for (const int error : {ECONNRESET, EAGAIN, EINTR}) {
    network_.Script("recv", FailWith(error));
    EXPECT_EQ(fnQN_Stack_RecvData(kSlot, &byte, 1), -1);
    EXPECT_EQ(fnQN_Stack_SocketError(), error);
  }
  EXPECT_EQ(network_.Count("recv"), 3u);
}

TEST_F(QnStackRecvData, RefusesSlotsOutOfRangeBeforeAllElse) {
  char byte = 0;
  for (const int32_t slot : kBadSlots) {
    EXPECT_EQ(fnQN_Stack_RecvData(slot, &byte, 1), -1) << slot;
    EXPECT_EQ(fnQN_Stack_RecvData(slot, nullptr, 1), -1) << slot;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackRecvData, NullDestinationIsMinusThreeBeforeTheConnectionIsLookedAt) {
  for (const int32_t state : {1, 0, -1, -2}) {
    SetConnState(state);
    EXPECT_EQ(fnQN_Stack_RecvData(kSlot, nullptr, 5), -3) << state;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackRecvData, RefusesASlotThatIsNotConnected) {
  char byte = 0;
  for (const int32_t state : {0, -1, -2, 2}) {
    SetConnState(state);
    EXPECT_EQ(fnQN_Stack_RecvData(kSlot, &byte, 1), -1) << state;
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackRecvData, RefusesNegativeCapacities) {
  char byte = 0;
  for (const int32_t capacity : {-1, INT32_MIN}) {
    EXPECT_EQ(fnQN_Stack_RecvData(kSlot, &byte, capacity), -1);
  }
  EXPECT_THAT(network_.Names(), IsEmpty());
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
  fnQN_Stack_CloseSocket(kSlot);
  network_.ForgetCalls();
  qn::HurryLastChunk(kSlot);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackHurry, IgnoresSlotsOutOfRange) {
  for (const int32_t slot : kBadSlots) qn::HurryLastChunk(slot);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

// With a real peer.
class QnStackLoopback : public testing::Test {
 protected:
  static int32_t ConnectTo(uint16_t port) {
    const int32_t slot = fnQN_Stack_CreateSocket();
    EXPECT_EQ(fnQN_Stack_GetHostByName(slot, "127.0.0.1", port), 1);
    return slot;
  }

  qntest::Watchdog watchdog_;
  SlotTable table_;
};

TEST_F(QnStackLoopback, ExchangesBytesUntilThePeerCloses) {
  qntest::ScriptedServer server({{qntest::ReadBytes(4), qntest::SendBytes("pong"),
                                  qntest::HalfClose(), qntest::ReadToEnd()}});
  const int32_t slot = ConnectTo(server.port());
  char answer[5] = "";

  EXPECT_EQ(fnQN_Stack_Connect(slot), 1);
  EXPECT_EQ(fnQN_Stack_SendData(slot, "ping", 4), 4);
  EXPECT_EQ(fnQN_Stack_RecvData(slot, answer, 4), 4);
  EXPECT_STREQ(answer, "pong");
  EXPECT_EQ(fnQN_Stack_RecvData(slot, answer, 4), 0);
  fnQN_Stack_CloseSocket(slot);

  EXPECT_EQ(server.Finish(), "");
  EXPECT_EQ(server.Received(0), "ping");
}

TEST_F(QnStackLoopback, RefusedConnectionFailsOnce) {
  const qntest::RefusingPort nobody;
  const int32_t slot = ConnectTo(nobody.port());
  EXPECT_EQ(fnQN_Stack_Connect(slot), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), ECONNREFUSED);
  EXPECT_EQ(fnQN_Stack_Connect(slot), 0);
  EXPECT_EQ(fnQN_Stack_SendData(slot, "x", 1), -1);
}

TEST_F(QnStackLoopback, ResetConnectionIsMinusOne) {
  qntest::ScriptedServer server({{qntest::ReadBytes(1), qntest::Reset()}});
  const int32_t slot = ConnectTo(server.port());
  char byte = 0;
  ASSERT_EQ(fnQN_Stack_Connect(slot), 1);
  ASSERT_EQ(fnQN_Stack_SendData(slot, "x", 1), 1);
  EXPECT_EQ(fnQN_Stack_RecvData(slot, &byte, 1), -1);
  EXPECT_EQ(fnQN_Stack_SocketError(), ECONNRESET);
}

}  // namespace
