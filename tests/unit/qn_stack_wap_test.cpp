// SPDX-License-Identifier: MIT
// Guards the WAP facade on the real HTTP client: it refuses until it is started
// with version 2, and again when it is switched off in mid-life.
#include "qnstack/qn_stack_wap.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "qn_stack_http_internal.h"
#include "qn_stack_wap_internal.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/failing_heap.h"

namespace {

using qntest::FreesIn;

// Taken before any test runs.
const int32_t kVersionAtLoad = qn::stack_version;

// Each test finds the facade as it is at load time and the HTTP stack closed.
class QnStackWap : public testing::Test {
 protected:
  QnStackWap() { Reset(); }
  ~QnStackWap() override { Reset(); }

 private:
  static void Reset() {
    fnQNStack_Http_CloseStack();
    fnQNStack_Http_SetProxy(nullptr, 0);
    qn::stack_version = kVersionAtLoad;
  }
};

TEST_F(QnStackWap, StartsTheHttpStackForVersion2AndKeepsTheVersionWhenClosed) {
  EXPECT_EQ(kVersionAtLoad, 1) << "off";
  EXPECT_EQ(fnQNStack_Wap_InitStack(2), 0);
  EXPECT_EQ(qn::http_net_inited, 1);
  EXPECT_NE(fnQNStack_Http_Head_Read("User-Agent"), nullptr);

  EXPECT_EQ(fnQNStack_Wap_CloseStack(), 0);
  EXPECT_EQ(qn::http_net_inited, 0);
  EXPECT_EQ(qn::stack_version, 2);
  QNHttpCtx *ctx = fnQNStack_Wap_Open_Get("h");
  EXPECT_NE(ctx, nullptr);
  fnQNStack_Wap_FreeCtx(ctx);
}

TEST_F(QnStackWap, RefusesAnyOtherVersionButKeepsIt) {
  for (const int32_t version : {1, 0, -1, 3, 12, 0x10002, INT32_MIN, INT32_MAX}) {
    SCOPED_TRACE(version);

    EXPECT_EQ(fnQNStack_Wap_InitStack(version), -1);

    EXPECT_EQ(qn::stack_version, version);
    EXPECT_EQ(qn::http_net_inited, 0);
    EXPECT_EQ(fnQNStack_Wap_Open_Get("h"), nullptr);
  }
  EXPECT_EQ(fnQNStack_Wap_InitStack(2), 0);
}

TEST_F(QnStackWap, SwitchedOffLeavesTheHttpStackStarted) {
  ASSERT_EQ(fnQNStack_Wap_InitStack(2), 0);

  EXPECT_EQ(fnQNStack_Wap_InitStack(1), -1);

  EXPECT_EQ(fnQNStack_Wap_CloseStack(), -1);
  EXPECT_EQ(qn::http_net_inited, 1);
  EXPECT_NE(fnQNStack_Http_Head_Read("User-Agent"), nullptr);
}

TEST_F(QnStackWap, SwitchedOffTouchesNoOpenContext) {
  ASSERT_EQ(fnQNStack_Wap_InitStack(2), 0);
  QNHttpCtx *ctx = fnQNStack_Wap_Open_Get("http://h/p");
  ASSERT_NE(ctx, nullptr);
  fnQNStack_Wap_InitStack(1);

  EXPECT_EQ(FreesIn([ctx] { fnQNStack_Wap_FreeCtx(ctx); }), 0);
  fnQNStack_Wap_Stop(ctx);

  EXPECT_EQ(fnQNStack_Wap_getState(ctx), -1);
  EXPECT_EQ(fnQNStack_Http_getState(ctx), QN_HTTP_NEW);
  EXPECT_STREQ(ctx->hostname, "h");
  fnQNStack_Http_FreeCtx(ctx);
}

}  // namespace
