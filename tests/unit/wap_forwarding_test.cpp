// SPDX-License-Identifier: MIT
// Guards that each facade function calls the HTTP function of its name with
// its own arguments and gives that one's result, or refuses without any call.
// The linker leads the facade's calls to the HTTP client into a mock here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "qn_stack_wap_internal.h"
#include "qnstack/qn_stack_wap.h"

namespace {

using testing::Return;
using testing::StrictMock;

struct HttpClient {
  MOCK_METHOD(int32_t, InitStack, ());
  MOCK_METHOD(int32_t, CloseStack, ());
  MOCK_METHOD(void, SetProxy, (const char *host, int32_t port));
  MOCK_METHOD(QNHttpCtx *, Open_Get, (const char *url));
  MOCK_METHOD(QNHttpCtx *, Open_Head, (const char *url));
  MOCK_METHOD(QNHttpCtx *, Open_Post,
              (const char *url, const void *body, int32_t length, const char *type));
  MOCK_METHOD(QNHttpCtx *, Open_Put,
              (const char *url, const void *body, int32_t length, const char *type));
  MOCK_METHOD(QNHttpCtx *, Open_Connect, (const char *host, int32_t port));
  MOCK_METHOD(int32_t, ReadRecvData, (QNHttpCtx * ctx, void *destination, int32_t capacity));
  MOCK_METHOD(int32_t, ReadRecvContext, (QNHttpCtx * ctx, void *destination, int32_t capacity));
  MOCK_METHOD(void, Stop, (QNHttpCtx * ctx));
  MOCK_METHOD(int32_t, getState, (const QNHttpCtx *ctx));
  MOCK_METHOD(void, FreeCtx, (QNHttpCtx * ctx));
  MOCK_METHOD(int32_t, Socket_SendData, (QNHttpCtx * ctx, const void *bytes, int32_t count));
  MOCK_METHOD(int32_t, Socket_Recvata, (QNHttpCtx * ctx, void *destination, int32_t capacity));
};

HttpClient *client = nullptr;

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int32_t __wrap_fnQNStack_Http_InitStack(void) { return client->InitStack(); }

int32_t __wrap_fnQNStack_Http_CloseStack(void) { return client->CloseStack(); }

void __wrap_fnQNStack_Http_SetProxy(const char *host, int32_t port) {
  client->SetProxy(host, port);
}

QNHttpCtx *__wrap_fnQNStack_Http_Open_Get(const char *url) { return client->Open_Get(url); }

QNHttpCtx *__wrap_fnQNStack_Http_Open_Head(const char *url) { return client->Open_Head(url); }

QNHttpCtx *__wrap_fnQNStack_Http_Open_Post(const char *url, const void *body, int32_t length,
                                           const char *type) {
  return client->Open_Post(url, body, length, type);
}

QNHttpCtx *__wrap_fnQNStack_Http_Open_Put(const char *url, const void *body, int32_t length,
                                          const char *type) {
  return client->Open_Put(url, body, length, type);
}

QNHttpCtx *__wrap_fnQNStack_Http_Open_Connect(const char *host, int32_t port) {
  return client->Open_Connect(host, port);
}

int32_t __wrap_fnQNStack_Http_ReadRecvData(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return client->ReadRecvData(ctx, destination, capacity);
}

int32_t __wrap_fnQNStack_Http_ReadRecvContext(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return client->ReadRecvContext(ctx, destination, capacity);
}

void __wrap_fnQNStack_Http_Stop(QNHttpCtx *ctx) { client->Stop(ctx); }

int32_t __wrap_fnQNStack_Http_getState(const QNHttpCtx *ctx) { return client->getState(ctx); }

void __wrap_fnQNStack_Http_FreeCtx(QNHttpCtx *ctx) { client->FreeCtx(ctx); }

int32_t __wrap_fnQNStack_Http_Socket_SendData(QNHttpCtx *ctx, const void *bytes, int32_t count) {
  return client->Socket_SendData(ctx, bytes, count);
}

int32_t __wrap_fnQNStack_Http_Socket_Recvata(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return client->Socket_Recvata(ctx, destination, capacity);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// A facade in front of a client on which no call is expected but those that a test
// announces.
class WapFacade : public testing::Test {
 protected:
  WapFacade() { client = &http_; }
  ~WapFacade() override { client = nullptr; }

  StrictMock<HttpClient> http_;
  QNHttpCtx ctx_ = {};
  char bytes_[8] = {};
  const char *text_ = "text";
  const char *type_ = "application/vnd.wap.mms-message";
};

TEST_F(WapFacade, CallsTheHttpFunctionOfTheSameNameAndGivesItsResult) {
  qn::stack_version = 2;

  EXPECT_CALL(http_, InitStack()).WillOnce(Return(-77));
  EXPECT_EQ(fnQNStack_Wap_InitStack(2), -77);
  EXPECT_CALL(http_, SetProxy(text_, 8080));
  fnQNStack_Wap_SetProxy(text_, 8080);
  EXPECT_CALL(http_, SetProxy(nullptr, -1));
  fnQNStack_Wap_SetProxy(nullptr, -1);
  EXPECT_CALL(http_, Open_Get(text_)).WillOnce(Return(&ctx_));
  EXPECT_EQ(fnQNStack_Wap_Open_Get(text_), &ctx_);
  EXPECT_CALL(http_, Open_Head(text_)).WillOnce(Return(&ctx_));
  EXPECT_EQ(fnQNStack_Wap_Open_Head(text_), &ctx_);
  EXPECT_CALL(http_, Open_Post(text_, bytes_, 8, type_)).WillOnce(Return(&ctx_));
  EXPECT_EQ(fnQNStack_Wap_Open_Post(text_, bytes_, 8, type_), &ctx_);
  EXPECT_CALL(http_, Open_Put(text_, bytes_, 8, type_)).WillOnce(Return(&ctx_));
  EXPECT_EQ(fnQNStack_Wap_Open_Put(text_, bytes_, 8, type_), &ctx_);
  EXPECT_CALL(http_, Open_Connect(text_, 443)).WillOnce(Return(&ctx_));
  EXPECT_EQ(fnQNStack_Wap_Open_Connect(text_, 443), &ctx_);
  EXPECT_CALL(http_, ReadRecvData(&ctx_, bytes_, 8)).WillOnce(Return(5));
  EXPECT_EQ(fnQNStack_Wap_ReadRecvData(&ctx_, bytes_, 8), 5);
  EXPECT_CALL(http_, ReadRecvContext(&ctx_, bytes_, 8)).WillOnce(Return(-2));
  EXPECT_EQ(fnQNStack_Wap_ReadRecvContext(&ctx_, bytes_, 8), -2);
  EXPECT_CALL(http_, Stop(&ctx_));
  fnQNStack_Wap_Stop(&ctx_);
  EXPECT_CALL(http_, getState(&ctx_)).WillOnce(Return(QN_HTTP_GIVEN_UP));
  EXPECT_EQ(fnQNStack_Wap_getState(&ctx_), QN_HTTP_GIVEN_UP);
  EXPECT_CALL(http_, FreeCtx(&ctx_));
  fnQNStack_Wap_FreeCtx(&ctx_);
  EXPECT_CALL(http_, Socket_SendData(&ctx_, bytes_, 8)).WillOnce(Return(-3));
  EXPECT_EQ(fnQNStack_Wap_Socket_SendData(&ctx_, bytes_, 8), -3);
  EXPECT_CALL(http_, Socket_Recvata(&ctx_, bytes_, 8)).WillOnce(Return(3));
  EXPECT_EQ(fnQNStack_Wap_Socket_Recvata(&ctx_, bytes_, 8), 3);
  EXPECT_CALL(http_, CloseStack()).WillOnce(Return(77));
  EXPECT_EQ(fnQNStack_Wap_CloseStack(), 77);
}

class WapRefusal : public WapFacade, public testing::WithParamInterface<int32_t> {
 protected:
  WapRefusal() { qn::stack_version = GetParam(); }
};

TEST_P(WapRefusal, OfIntegerResultsIsMinusOne) {
  EXPECT_EQ(fnQNStack_Wap_CloseStack(), -1);
  EXPECT_EQ(fnQNStack_Wap_ReadRecvData(&ctx_, bytes_, 8), -1);
  EXPECT_EQ(fnQNStack_Wap_ReadRecvContext(&ctx_, bytes_, 8), -1);
  EXPECT_EQ(fnQNStack_Wap_getState(&ctx_), -1);
  EXPECT_EQ(fnQNStack_Wap_Socket_SendData(&ctx_, bytes_, 8), -1);
  EXPECT_EQ(fnQNStack_Wap_Socket_Recvata(&ctx_, bytes_, 8), -1);
}

TEST_P(WapRefusal, OfContextsIsNull) {
  EXPECT_EQ(fnQNStack_Wap_Open_Get(text_), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Head(text_), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Post(text_, bytes_, 8, text_), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Put(text_, bytes_, 8, text_), nullptr);
  EXPECT_EQ(fnQNStack_Wap_Open_Connect(text_, 443), nullptr);
}

// The client would take any call as a failure.
TEST_P(WapRefusal, OfFunctionsWithoutAResultCallsNothing) {
  fnQNStack_Wap_SetProxy(text_, 8080);
  fnQNStack_Wap_Stop(&ctx_);
  fnQNStack_Wap_FreeCtx(&ctx_);
}

INSTANTIATE_TEST_SUITE_P(Versions, WapRefusal, testing::Values(1, 0, -1, 3, 20, INT32_MIN));

}  // namespace
