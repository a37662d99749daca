// SPDX-License-Identifier: MIT
// Guards the send step: one chunk a call, what a failed or short send leaves
// to be sent, and when the kernel is told to hurry.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>

#include <cerrno>
#include <string>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "support/socket_layer_faults.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

class QnStackHttpSend : public qntest::TransferTest {
 protected:
  // A context on a connected slot with a request of so many bytes to send.
  static Context OpenWithRequest(size_t bytes) {
    Context ctx(fnQNStack_Http_Open_Get("http://h/"));
    ctx->socket = fnQN_Stack_CreateSocket();
    socket_list[ctx->socket].connState = 1;
    ctx->state = QN_HTTP_SENDING;
    std::string request(bytes, '-');
    for (size_t i = 0; i < bytes; ++i) request[i] = static_cast<char>('a' + i % 23);
    qntest::Append(ctx->sendBuf, request);
    return ctx;
  }

  static Outcome SendQuest(const Context &ctx) {
    return OutcomeOf(ctx.get(), [&] { return fnQNStack_Http_SendQuest(ctx.get()); });
  }

  std::vector<size_t> ChunksAsked() const {
    std::vector<size_t> sizes;
    for (const auto &call : network_.CallsOf("send")) sizes.push_back(call.asked);
    return sizes;
  }
};

TEST_F(QnStackHttpSend, FiveThousandBytesGoOutInThreeCallsAndTheFourthReceives) {
  network_.Script("recv", {Deliver("HTTP/1.0 200 OK\r\n\r\n"), Give(0)});
  const size_t frame = ("POST / HTTP/1.0\r\nHost: h:80\r\n" + std::string(qntest::kHandsetHeaders) +
                        "Content-Type: t\r\nContent-Length: 4000\r\n\r\n")
                           .size();
  const std::string body(5000 - frame, 'b');
  ASSERT_EQ(std::to_string(body.size()).size(), 4u);
  const Context ctx(
      fnQNStack_Http_Open_Post("http://h/", body.data(), static_cast<int32_t>(body.size()), "t"));

  EXPECT_EQ(
      RunStep(ctx),
      (Outcome{-2, 3, 0, 1, "create socket 1host:h,80connet socket:1 result:1hostname  = h"}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 0u);
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, "socket 1 recv len:19"}));

  EXPECT_THAT(ChunksAsked(), ElementsAre(2048, 2048, 904));
  EXPECT_EQ(network_.Sent().size(), 5000u);
}

struct ChunkCase {
  size_t request;
  std::vector<size_t> chunks;
};

TEST_F(QnStackHttpSend, ChunksAreTwoThousandFortyEightBytesAtMost) {
  const ChunkCase cases[] = {{1, {1}},          {2047, {2047}},       {2048, {2048}},
                             {2049, {2048, 1}}, {4096, {2048, 2048}}, {4097, {2048, 2048, 1}}};
  for (const ChunkCase &row : cases) {
    network_.ForgetCalls();
    const Context ctx = OpenWithRequest(row.request);
    const std::string request = UnreadOf(ctx->sendBuf);
    for (size_t i = 0; i < row.chunks.size(); ++i) EXPECT_EQ(SendQuest(ctx).result, -2);
    EXPECT_EQ(SendQuest(ctx).result, 0);
    EXPECT_EQ(ChunksAsked(), row.chunks);
    EXPECT_EQ(network_.Sent(), request);
  }
}

TEST_F(QnStackHttpSend, LastChunkStillAsksToBeCalledAgainAndNothingToSendIsZero) {
  const Context ctx = OpenWithRequest(10);
  ctx->tryCount = 5;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 0u);
  ctx->tryCount = 5;
  EXPECT_EQ(SendQuest(ctx), (Outcome{0, 3, 5, 1, ""}));
  EXPECT_EQ(network_.Count("send"), 1u);
}

TEST_F(QnStackHttpSend, ShortSendKeepsTheRestAndCountsAsProgress) {
  network_.Script("send", {AtMost(0), AtMost(100), AtMost(1), AtMost(1947)});
  const Context ctx = OpenWithRequest(2500);
  const std::string request = UnreadOf(ctx->sendBuf);
  for (const size_t sent : {0U, 100U, 101U, 2048U, 2500U}) {
    ctx->tryCount = 5;
    EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, ""}));
    EXPECT_EQ(UnreadOf(ctx->sendBuf), request.substr(sent));
  }
  EXPECT_THAT(ChunksAsked(), ElementsAre(2048, 2048, 2048, 2048, 452));
  EXPECT_EQ(network_.Sent(), request);
}

TEST_F(QnStackHttpSend, FailureIsMinusTwelveWithNothingLost) {
  network_.Script("send", {AtMost(100), FailWith(ECONNRESET)});
  Context ctx = OpenWithRequest(3000);
  const std::string request = UnreadOf(ctx->sendBuf);
  RunStep(ctx);
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -12, 1, 1, ""}));
  EXPECT_EQ(UnreadOf(ctx->sendBuf), request.substr(100));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, -12, 1, 1, ""}));
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpSend, AnyOtherNegativeResultIsAFailure) {
  for (const int32_t result : {-1, -3, -100}) {
    SocketLayerFaults faults;
    faults.send = {result};
    const Context ctx = OpenWithRequest(10);
    EXPECT_EQ(SendQuest(ctx), (Outcome{-1, 3, 1, 1, ""}));
    EXPECT_EQ(UnreadOf(ctx->sendBuf).size(), 10u);
  }
}

TEST_F(QnStackHttpSend, SendUnderWayIsTriedAgain) {
  SocketLayerFaults faults;
  faults.send = {-2, -2};
  const Context ctx = OpenWithRequest(10);
  const std::string request = UnreadOf(ctx->sendBuf);
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 1, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 2, 1, ""}));
  EXPECT_EQ(UnreadOf(ctx->sendBuf), request);
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_EQ(network_.Sent(), request);
}

// Whether it does makes no difference.
TEST_F(QnStackHttpSend, KernelIsToldToHurryForTheLastOfSeveralChunksOnly) {
  network_.Script("setsockopt", FailWith(ENOPROTOOPT));
  const Context ctx = OpenWithRequest(3 * 2048);
  network_.ForgetCalls();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(SendQuest(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_EQ(SendQuest(ctx).result, 0);
  ASSERT_THAT(network_.Names(), ElementsAre("send", "send", "setsockopt", "send"));
  EXPECT_EQ(network_.Calls()[2].fd, socket_list[1].fd);
  EXPECT_EQ(network_.Calls()[2].flags, TCP_NODELAY);
}

TEST_F(QnStackHttpSend, KernelIsToldToHurryForTheRestOfTheOnlyChunk) {
  network_.Script("send", {AtMost(1), Pass()});
  const Context ctx = OpenWithRequest(10);
  network_.ForgetCalls();
  for (int i = 0; i < 2; ++i) EXPECT_EQ(SendQuest(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_THAT(network_.Names(), ElementsAre("send", "setsockopt", "send"));
}

TEST_F(QnStackHttpSend, PassThroughSendsOnTheContextsSlotWithTheSocketLayersResults) {
  const Context ctx = OpenWithRequest(0);
  network_.Script("send", {Pass(), AtMost(1), FailWith(ECONNRESET)});
  for (const int32_t result : {4, 1, -1}) {
    EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "ping", 4), result);
    EXPECT_EQ(network_.CallsOf("send").back().fd, socket_list[1].fd);
  }
  EXPECT_EQ(network_.Sent(), "pingp");
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "ping", -1), -1);
  for (const int32_t socket : {-1, 0, 20}) {
    ctx->socket = socket;
    EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "ping", 4), -1);
    EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), nullptr, 4), -1);
  }
}

}  // namespace
