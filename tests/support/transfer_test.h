// SPDX-License-Identifier: MIT
// Base of the tests that drive a transfer without any network: the stack is
// started, every slot is free, the names "h" and "gw" have addresses, sockets
// connect and take all that is sent, and what is received is scripted.
#ifndef QNSTACK_TESTS_SUPPORT_TRANSFER_TEST_H
#define QNSTACK_TESTS_SUPPORT_TRANSFER_TEST_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/http_stack.h"
#include "support/network_faults.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace qntest {

class TransferTest : public testing::Test {
 protected:
  static constexpr char kHostAddress[] = "192.0.2.1";
  static constexpr char kProxyAddress[] = "192.0.2.9";

  TransferTest() {
    network_.AddHost("h", {kHostAddress});
    network_.AddHost("gw", {kProxyAddress});
  }

  // A GET of http://h/ that has sent its request on slot 1 and received
  // nothing yet.
  static Context OpenSent() {
    Context ctx(fnQNStack_Http_Open_Get("http://h/"));
    RunStep(ctx);
    EXPECT_EQ(ctx->state, QN_HTTP_SENDING);
    EXPECT_EQ(ctx->sendBuf->cursor, ctx->sendBuf->length);
    return ctx;
  }

  // The same one step on: it has begun to receive `bytes`.
  Context OpenReceiving(const std::string &bytes) {
    Context ctx = OpenSent();
    ctx->state = QN_HTTP_RECEIVING;
    Append(ctx->recvBuf, bytes);
    return ctx;
  }

  Watchdog watchdog_;
  HttpStack stack_;
  SlotTable table_;
  NetworkFaults network_{NetworkFaults::Mode::kOffline};
};

}  // namespace qntest

#endif
