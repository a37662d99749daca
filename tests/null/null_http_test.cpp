// SPDX-License-Identifier: MIT
// What NULL gives in the HTTP client, its tables, the WAP facade and the socket
// layer.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "qnstack/qn_stack_porting.h"
#include "qnstack/qn_stack_wap.h"
#include "support/captured_output.h"
#include "support/http_stack.h"

namespace {

using qntest::Context;

constexpr char kUrl[] = "http://host/path";
constexpr char kForm[] = "application/x-www-form-urlencoded";

class NullInClient : public testing::Test {
 protected:
  NullInClient() { fnQNStack_Wap_InitStack(2); }
  ~NullInClient() override { fnQNStack_Wap_InitStack(1); }

  // A context that has received an answer whose header is "HTTP/1.0 200 OK" and
  // whose body is "body".
  static Context Answered(int32_t state) {
    Context ctx(fnQNStack_Http_Open_Get(kUrl));
    qntest::Append(ctx->recvBuf, "HTTP/1.0 200 OK\r\n\r\nbody");
    ctx->state = state;
    return ctx;
  }

  qntest::HttpStack stack_;
  qntest::DiscardedOutput output_;
};

TEST_F(NullInClient, AsContextFails) {
  char piece[4];
  // Without a proxy no tunnel is asked for, whatever the context.
  fnQNStack_Http_SetProxy("127.0.0.1", 80);

  EXPECT_EQ(fnQNStack_Http_getState(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_LoadHeadFromFile(nullptr, "/file"), -1);
  EXPECT_EQ(fnQNStack_Http_LoadReponseFromFile(nullptr, "/file"), -1);
  EXPECT_EQ(fnQNStack_Http_PrepareQuest(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_PrepareQuest_Connect(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_Run(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_ReadRecvData(nullptr, piece, 4), -1);
  EXPECT_EQ(fnQNStack_Http_ReadRecvContext(nullptr, piece, 4), -1);
  EXPECT_EQ(fnQNStack_Http_SendQuest(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_RecvConnectData(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_ParseAnswer(nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(nullptr, "a", 1), -1);
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(nullptr, piece, 4), -1);
  EXPECT_EQ(fnQNStack_Http_Call_Run(nullptr), 0) << "a callback is done with it";
}

TEST_F(NullInClient, IsFreedAndStoppedWithoutAnEffect) {
  Context ctx = Answered(QN_HTTP_RECEIVING);

  fnQNStack_Http_FreeCtx(nullptr);
  fnQNStack_Http_Stop(nullptr);

  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
}

TEST_F(NullInClient, AsUrlOpensNothing) {
  EXPECT_EQ(fnQNStack_Http_Open_Get(nullptr), nullptr);
  EXPECT_EQ(fnQNStack_Http_Open_Head(nullptr), nullptr);
  EXPECT_EQ(fnQNStack_Http_Open_Post(nullptr, "a", 1, kForm), nullptr);
  EXPECT_EQ(fnQNStack_Http_Open_Put(nullptr, "a", 1, kForm), nullptr);
}

TEST_F(NullInClient, AsTypeIsAFormAndAsBodyLeavesItOutOfTheRequest) {
  const Context post(fnQNStack_Http_Open_Post(kUrl, "a", 1, nullptr));
  const Context put(fnQNStack_Http_Open_Put(kUrl, "a", 1, nullptr));
  const Context empty_post(fnQNStack_Http_Open_Post(kUrl, nullptr, 4, kForm));
  const Context empty_put(fnQNStack_Http_Open_Put(kUrl, nullptr, 4, kForm));

  EXPECT_STREQ(post->contentType, kForm);
  EXPECT_STREQ(put->contentType, kForm);
  for (const Context *ctx : {&empty_post, &empty_put}) {
    EXPECT_EQ(fnQNStack_Http_PrepareQuest(ctx->get()), 0);
    EXPECT_TRUE(qntest::UnreadOf((*ctx)->sendBuf).ends_with("Content-Length: 4\r\n\r\n"));
  }
}

TEST_F(NullInClient, AsHostOfATunnelIsOpenedAndNotResolved) {
  const Context ctx(fnQNStack_Http_Open_Connect(nullptr, 443));

  EXPECT_EQ(ctx->hostname, nullptr);
  EXPECT_EQ(fnQNStack_Http_Run(ctx.get()), -1);
  EXPECT_EQ(ctx->state, QN_HTTP_RESOLVE_FAILED);
}

TEST_F(NullInClient, AsHostOfATunnelIsShownToTheProxy) {
  fnQNStack_Http_SetProxy("127.0.0.1", 80);
  const Context ctx(fnQNStack_Http_Open_Connect(nullptr, 443));

  EXPECT_EQ(fnQNStack_Http_PrepareQuest_Connect(ctx.get()), 0);

  EXPECT_TRUE(qntest::UnreadOf(ctx->sendBuf).starts_with("CONNECT (null):443 HTTP/1.1\r\n"));
}

TEST_F(NullInClient, AsProxyRemovesIt) {
  fnQNStack_Http_SetProxy("127.0.0.1", 80);

  fnQNStack_Http_SetProxy(nullptr, 80);

  EXPECT_EQ(fnQNStack_Have_Proxy(), 0);
}

TEST_F(NullInClient, AsFileNameLoadsNothing) {
  const Context ctx(fnQNStack_Http_Open_Get(kUrl));

  EXPECT_EQ(fnQNStack_Http_LoadHeadFromFile(ctx.get(), nullptr), -1);
  EXPECT_EQ(fnQNStack_Http_LoadReponseFromFile(ctx.get(), nullptr), -1);

  EXPECT_EQ(ctx->sendBuf->total, 0U);
  EXPECT_EQ(ctx->recvBuf->total, 0U);
}

TEST_F(NullInClient, AsDestinationOfACompleteAnswerFailsAndTakesNothing) {
  const Context ctx = Answered(QN_HTTP_COMPLETE);

  EXPECT_EQ(fnQNStack_Http_ReadRecvData(ctx.get(), nullptr, 4), -1);
  EXPECT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), nullptr, 4), -1);

  EXPECT_EQ(qntest::UnreadOf(ctx->recvBuf), "body");
}

TEST_F(NullInClient, AsBytesOrHostOfASlotIsRefused) {
  const Context ctx(fnQNStack_Http_Open_Connect("host", 443));
  ctx->socket = 1;

  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), nullptr, 1), -3);
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), nullptr, 1), -3);
  EXPECT_EQ(fnQN_Stack_SendData(1, nullptr, 1), -3);
  EXPECT_EQ(fnQN_Stack_RecvData(1, nullptr, 1), -3);
  EXPECT_EQ(fnQN_Stack_GetHostByName(1, nullptr, 80), -1);
}

TEST_F(NullInClient, AsHeaderNameIsAnEmptyOneEachTimeAndAsValueAnEmptyOne) {
  fnQNStack_Http_Head_Write(nullptr, "first");
  fnQNStack_Http_Head_Write(nullptr, "second");
  fnQNStack_Http_Head_Write("Accept", nullptr);
  fnQNStack_Http_Head_Write("X-New", nullptr);

  EXPECT_EQ(fnQNStack_Http_Head_Read(nullptr), nullptr);
  EXPECT_STREQ(fnQNStack_Http_Head_Read(""), "first");
  EXPECT_STREQ(fnQNStack_Http_Head_Read("Accept"), "");
  EXPECT_STREQ(fnQNStack_Http_Head_Read("X-New"), "");
}

TEST_F(NullInClient, InACookieIsShownAsSuch) {
  const Context ctx(fnQNStack_Http_Open_Get(kUrl));

  fnQNStack_Http_Cookie_Set(nullptr, "value", "host", "/");
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, "host");
  fnQNStack_Http_Cookie_Set("name", nullptr, "host", nullptr);
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, "host");

  EXPECT_EQ(qntest::UnreadOf(ctx->sendBuf),
            "Cookie: (null)=value\r\nCookie2: \"1\"\r\n"
            "Cookie: name=(null)\r\nCookie2: \"1\"\r\n");
}

TEST_F(NullInClient, AsHostOrDomainOfACookieIsNobodys) {
  const Context ctx(fnQNStack_Http_Open_Get(kUrl));

  fnQNStack_Http_Cookie_Set("name", "value", "host", "/");
  fnQNStack_Http_Cookie_AddToHead(nullptr, "host");
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, nullptr);
  fnQNStack_Http_Cookie_Set("name", "value", nullptr, "/");
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, "host");

  EXPECT_EQ(ctx->sendBuf->total, 0U);
}

TEST_F(NullInClient, InTheFacadeGivesWhatTheClientGives) {
  char piece[4];

  EXPECT_EQ(fnQNStack_Wap_Open_Get(nullptr), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Head(nullptr), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Post(nullptr, "a", 1, kForm), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Put(nullptr, "a", 1, kForm), nullptr);
  EXPECT_EQ(fnQNStack_Wap_getState(nullptr), -1);
  EXPECT_EQ(fnQNStack_Wap_ReadRecvData(nullptr, piece, 4), -1);
  EXPECT_EQ(fnQNStack_Wap_ReadRecvContext(nullptr, piece, 4), -1);
  EXPECT_EQ(fnQNStack_Wap_Socket_SendData(nullptr, "a", 1), -1);
  EXPECT_EQ(fnQNStack_Wap_Socket_Recvata(nullptr, piece, 4), -1);
  fnQNStack_Wap_FreeCtx(nullptr);
  fnQNStack_Wap_Stop(nullptr);
}

TEST_F(NullInClient, InTheFacadeBesideAContextGivesWhatTheClientGives) {
  const Context post(fnQNStack_Wap_Open_Post(kUrl, nullptr, 0, nullptr));
  const Context put(fnQNStack_Wap_Open_Put(kUrl, nullptr, 0, nullptr));
  const Context tunnel(fnQNStack_Wap_Open_Connect(nullptr, 443));
  const Context answered = Answered(QN_HTTP_COMPLETE);
  fnQNStack_Http_SetProxy("127.0.0.1", 80);

  fnQNStack_Wap_SetProxy(nullptr, 80);

  EXPECT_EQ(fnQNStack_Have_Proxy(), 0);
  EXPECT_STREQ(post->contentType, kForm);
  EXPECT_STREQ(put->contentType, kForm);
  EXPECT_EQ(tunnel->hostname, nullptr);
  EXPECT_EQ(fnQNStack_Wap_ReadRecvData(answered.get(), nullptr, 4), -1);
  EXPECT_EQ(fnQNStack_Wap_ReadRecvContext(answered.get(), nullptr, 4), -1);
  tunnel->socket = 1;
  EXPECT_EQ(fnQNStack_Wap_Socket_SendData(tunnel.get(), nullptr, 1), -3);
  EXPECT_EQ(fnQNStack_Wap_Socket_Recvata(tunnel.get(), nullptr, 1), -3);
}

}  // namespace
