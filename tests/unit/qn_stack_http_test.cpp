// SPDX-License-Identifier: MIT
// Guards the entry of the HTTP client: starting and stopping the stack, the
// proxy setting, and the life of a request context.
#include "qnstack/qn_stack_http.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qn_stack_http_cookie_internal.h"
#include "qn_stack_http_head_internal.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_porting_internal.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/failing_heap.h"
#include "support/http_stack.h"
#include "support/network_faults.h"
#include "support/slot_table.h"
#include "support/socket_layer_faults.h"

namespace {

using namespace qntest;
using testing::ElementsAre;

// As they were when the program was loaded.
const int32_t port_at_load = qn::http_proxy_port;
const int32_t started_at_load = qn::http_net_inited;
const bool proxy_at_load = qn::http_proxy != nullptr;
const bool context_at_load = gCtx != nullptr;

TEST(QnStackHttpGlobals, StandAtTheirInitialValuesWhenLoaded) {
  EXPECT_EQ(port_at_load, -1);
  EXPECT_EQ(started_at_load, 0);
  EXPECT_FALSE(proxy_at_load);
  EXPECT_FALSE(context_at_load);
}

TEST(QnStackHttpInitStack, StartsTheSocketLayerAndLoadsTheHeadersUntilItIsClosed) {
  const HttpStack stack;
  EXPECT_EQ(qn::http_net_inited, 1);
  EXPECT_EQ(qn::socket_init, 1);
  EXPECT_STREQ(fnQNStack_Http_Head_Read("Accept-Language"), "en");
  fnQNStack_Http_Head_Write("Accept-Language", "de");
  fnQNStack_Http_Head_Write("X-Test", "1");
  fnQNStack_Http_Cookie_Set("sid", "1", "h", "/");
  fnQNStack_Http_SetProxy("gw", 8080);

  EXPECT_EQ(fnQNStack_Http_InitStack(), 0);
  EXPECT_STREQ(fnQNStack_Http_Head_Read("Accept-Language"), "de") << "changed headers stay";
  EXPECT_EQ(qn::http_head_list->count, 7);

  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(fnQNStack_Http_CloseStack(), 0);
    EXPECT_EQ(qn::http_net_inited, 0);
    EXPECT_EQ(qn::socket_init, 0);
    EXPECT_EQ(qn::http_head_list, nullptr);
    EXPECT_EQ(qn::http_cookie_list, nullptr);
    EXPECT_STREQ(qn::http_proxy, "gw");
    EXPECT_EQ(qn::http_proxy_port, 8080);
  }
  EXPECT_EQ(fnQNStack_Http_InitStack(), 0);
  EXPECT_STREQ(fnQNStack_Http_Head_Read("Accept-Language"), "en");
  EXPECT_EQ(fnQNStack_Http_Head_Read("X-Test"), nullptr);
}

TEST(QnStackHttpInitStack, SocketLayerThatCannotStartIsReported) {
  fnQNStack_Http_CloseStack();
  SocketLayerFaults faults;
  faults.init = {0};
  EXPECT_EQ(fnQNStack_Http_InitStack(), -1);
  EXPECT_EQ(qn::http_net_inited, 0);
  EXPECT_EQ(qn::http_head_list, nullptr);
}

TEST(QnStackHttpCloseStack, LeavesContextsAlone) {
  const HttpStack stack;
  const SlotTable table;
  NetworkFaults network(NetworkFaults::Mode::kOffline);
  network.AddHost("h", {"192.0.2.1"});
  const Context ctx(fnQNStack_Http_Open_Get("h"));
  qntest::RunStep(ctx);
  ASSERT_EQ(ctx->state, QN_HTTP_SENDING);

  fnQNStack_Http_CloseStack();

  EXPECT_EQ(ctx->state, QN_HTTP_SENDING);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(ctx->socket));
  EXPECT_EQ(gCtx, ctx.get());
}

TEST(QnStackHttpSetProxy, KeepsACopyOfTheLastHost) {
  const HttpStack stack;
  std::string host = "first";
  fnQNStack_Http_SetProxy(host.c_str(), 80);
  host = "overwritten";
  EXPECT_EQ(fnQNStack_Have_Proxy(), 1);
  EXPECT_STREQ(qn::http_proxy, "first");
  EXPECT_EQ(qn::http_proxy_port, 80);
  EXPECT_EQ(RefusalsIn([] { fnQNStack_Http_SetProxy("second", 8080); }, 1), 1);
  EXPECT_STREQ(qn::http_proxy, "first");
  EXPECT_EQ(qn::http_proxy_port, 80);

  fnQNStack_Http_SetProxy("second", 8080);
  fnQNStack_Http_SetProxy(qn::http_proxy, 8081);
  EXPECT_STREQ(qn::http_proxy, "second");
  EXPECT_EQ(qn::http_proxy_port, 8081);

  fnQNStack_Http_SetProxy(nullptr, 9000);
  EXPECT_EQ(fnQNStack_Have_Proxy(), 0);
  EXPECT_EQ(qn::http_proxy, nullptr);
  EXPECT_EQ(qn::http_proxy_port, 9000) << "the port is stored all the same";
  fnQNStack_Http_SetProxy("", 80);
  EXPECT_EQ(fnQNStack_Have_Proxy(), 1);
}

TEST(QnStackHttpNewCtx, IsZeroButForTheSocketAndTheBuffers) {
  const Context ctx(qn::NewContext());
  ASSERT_NE(ctx, nullptr);
  for (const char *text :
       {ctx->url, ctx->hostname, ctx->path, ctx->method, ctx->contentType, ctx->retCtxType}) {
    EXPECT_EQ(text, nullptr);
  }
  EXPECT_EQ(ctx->content, nullptr);
  for (const int32_t number :
       {ctx->port, ctx->state, ctx->contentLen, ctx->headParsed, ctx->retEncoding, ctx->retCtxLen,
        ctx->retValue, ctx->redirectCount, ctx->tryCount}) {
    EXPECT_EQ(number, 0);
  }
  EXPECT_EQ(ctx->socket, -1);
  for (const QNMemBuffer *buffer : {ctx->sendBuf, ctx->recvBuf}) {
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->capacity, 2048u);
    EXPECT_EQ(buffer->length, 0u);
    EXPECT_EQ(buffer->cursor, 0u);
    EXPECT_EQ(buffer->total, 0u);
  }
}

TEST(QnStackHttpNewCtx, IsNullWheneverTheHeapRefuses) {
  for (int refused = 1; refused <= 5; ++refused) {
    QNHttpCtx *ctx = nullptr;
    RefusalsIn([&] { ctx = qn::NewContext(); }, refused);
    EXPECT_EQ(ctx, nullptr) << "allocation " << refused;
    fnQNStack_Http_FreeCtx(ctx);
  }
}

// A context on a slot of its own among others that are taken.
class QnStackHttpContext : public testing::Test {
 protected:
  static constexpr int kDescriptor = NetworkFaults::kFirstMadeUpDescriptor + 3;

  QnStackHttpContext() {
    SlotTable::TakeAll();
    socket_list[3].fd = kDescriptor;
  }

  SlotTable table_;
  NetworkFaults network_;
  Context ctx_{fnQNStack_Http_Open_Get("http://h/x")};
};

using QnStackHttpFree = QnStackHttpContext;
using QnStackHttpStop = QnStackHttpContext;

TEST_F(QnStackHttpFree, ReleasesItsSlotAloneAndKeepsTheContextWorkedOnLast) {
  auto expected = SlotTable::Entries();
  for (const int32_t socket : {-1, 0, 3}) {
    SCOPED_TRACE(socket);
    Context ctx(fnQNStack_Http_Open_Get("http://h/x"));
    ctx->socket = socket;
    gCtx = ctx.get();
    const auto before = reinterpret_cast<uintptr_t>(gCtx);
    if (socket == 3) expected[3] = {};
    ctx.reset();
    EXPECT_EQ(SlotTable::Entries(), expected);
    EXPECT_EQ(network_.Count("close"), socket == 3 ? 1u : 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(gCtx), before);
    gCtx = nullptr;
  }
  EXPECT_EQ(network_.Calls()[0].fd, kDescriptor);
}

TEST_F(QnStackHttpStop, ClearsWhicheverContextWasWorkedOnLastInAnyState) {
  const Context other(fnQNStack_Http_Open_Get("other"));
  for (const int32_t state : {0, 1, 2, 3, 4, 5, 6, -10, -14}) {
    for (const int32_t socket : {-1, 0}) {
      gCtx = other.get();
      ctx_->state = state;
      ctx_->socket = socket;
      fnQNStack_Http_Stop(nullptr);
      EXPECT_EQ(gCtx, other.get());
      fnQNStack_Http_Stop(ctx_.get());
      EXPECT_EQ(gCtx, nullptr);
      EXPECT_EQ(ctx_->state, 6) << state;
      EXPECT_EQ(ctx_->socket, socket);
    }
  }
  EXPECT_EQ(network_.Count("close"), 0u);
}

TEST_F(QnStackHttpStop, ClosesTheSocketAndKeepsStringsAndBuffers) {
  qntest::Append(ctx_->recvBuf, "rest");
  ctx_->socket = 3;
  fnQNStack_Http_Stop(ctx_.get());
  EXPECT_EQ(ctx_->state, QN_HTTP_STOPPED);
  EXPECT_EQ(ctx_->socket, -1);
  EXPECT_EQ(socket_list[3], QNSocketSlot{});
  ASSERT_THAT(network_.Names(), ElementsAre("close"));
  EXPECT_EQ(network_.Calls()[0].fd, kDescriptor);
  EXPECT_STREQ(ctx_->url, "http://h/x");
  EXPECT_STREQ(ctx_->hostname, "h");
  EXPECT_STREQ(ctx_->method, "GET");
  EXPECT_EQ(qntest::UnreadOf(ctx_->recvBuf), "rest");
}

TEST(QnStackHttpGetState, GivesTheState) {
  const Context ctx(fnQNStack_Http_Open_Get("h"));
  for (const int32_t state : {0, 6, -13}) {
    ctx->state = state;
    EXPECT_EQ(fnQNStack_Http_getState(ctx.get()), state);
  }
}

}  // namespace
