// SPDX-License-Identifier: MIT
// Guards the C++ face's Stack: what it starts, sets, and leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"
#include "support/network_faults.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace {

using namespace std::string_literals;
using qnstack::Stack;
using qntest::RefusalsIn;
using testing::StartsWith;

static_assert(!std::is_copy_constructible_v<Stack> && !std::is_copy_assignable_v<Stack>);
static_assert(!std::is_move_constructible_v<Stack> && !std::is_move_assignable_v<Stack>);

TEST(FaceStack, StartsAndCloses) {
  {
    const Stack stack;
    EXPECT_TRUE(stack.IsStarted());
    EXPECT_STREQ(fnQNStack_Http_Head_Read("Accept-Language"), "en");
  }
  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept-Language"), nullptr);
}

TEST(FaceStack, TakesBackTheProxyThatItSetAlone) {
  {
    Stack stack;
    EXPECT_EQ(RefusalsIn([&] { EXPECT_FALSE(stack.SetProxy("gw", 8080)); }, 1), 1);
    EXPECT_EQ(fnQNStack_Have_Proxy(), 0);
    EXPECT_TRUE(stack.SetProxy("gw"s, 8080));
    EXPECT_FALSE(stack.SetProxy("g\0w"s, 8080));
    EXPECT_FALSE(stack.SetProxy(nullptr, 8080));
    EXPECT_EQ(fnQNStack_Have_Proxy(), 1) << "it is kept where another is refused";
    stack.ClearProxy();
    EXPECT_EQ(fnQNStack_Have_Proxy(), 0);
    EXPECT_TRUE(stack.SetProxy(std::string_view("gw"), 8080));
  }
  EXPECT_EQ(fnQNStack_Have_Proxy(), 0);

  fnQNStack_Http_SetProxy("gw", 8080);
  { const Stack stack; }
  EXPECT_EQ(fnQNStack_Have_Proxy(), 1);
  fnQNStack_Http_SetProxy(nullptr, 0);
}

TEST(FaceStack, SendsItsRequestsThroughTheProxy) {
  const qntest::Watchdog watchdog;
  const qntest::SlotTable table;
  qntest::NetworkFaults network(qntest::NetworkFaults::Mode::kOffline);
  network.AddHost("gw", {"192.0.2.9"});
  Stack stack;
  ASSERT_TRUE(stack.SetProxy("gw", 8080));
  auto context = qnstack::OpenGet("http://h/m");
  std::string body;

  EXPECT_EQ(qnstack::ReadHead(context), qnstack::Result::kCut) << "the peer says nothing";

  ASSERT_EQ(network.Count("connect"), 1U);
  EXPECT_EQ(network.CallsOf("connect").front().text, "192.0.2.9:8080");
  EXPECT_THAT(network.Sent(), StartsWith("GET http://h/m HTTP/1.0\r\n"));
}

TEST(FaceStack, SetsHeadersThatCanBeKept) {
  Stack stack;
  EXPECT_TRUE(stack.SetHeader("User-Agent", "Handset/1.0"s));
  EXPECT_TRUE(stack.SetHeader("Accept", ""));
  EXPECT_FALSE(stack.SetHeader("User-Agent", "a\0b"s));
  EXPECT_FALSE(stack.SetHeader("User-Agent", nullptr));
  EXPECT_FALSE(stack.SetHeader(nullptr, "value"));
  EXPECT_EQ(RefusalsIn([&] { EXPECT_FALSE(stack.SetHeader("User-Agent", "Other/2.0")); }, 1), 1);
  EXPECT_STREQ(fnQNStack_Http_Head_Read("User-Agent"), "Handset/1.0");
  EXPECT_STREQ(fnQNStack_Http_Head_Read("Accept"), "");
}

}  // namespace
