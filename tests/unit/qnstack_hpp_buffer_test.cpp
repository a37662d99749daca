// SPDX-License-Identifier: MIT
// Guards the C++ face's handles of buffers and texts, and the strings that go in
// and out of them.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"

namespace {

using namespace std::string_literals;
using qnstack::Buffer;
using qntest::FailingHeap;

static_assert(!std::is_copy_constructible_v<Buffer>);
static_assert(sizeof(Buffer) == sizeof(QNMemBuffer *));
static_assert(!std::is_invocable_v<decltype(&qnstack::Append), const Buffer &, std::string_view>);
static_assert(!std::is_invocable_v<decltype(&qnstack::ReadItem), const Buffer &, const char *>);

TEST(FaceBuffer, TakesBytesAndGivesItems) {
  auto buffer = qnstack::MakeBuffer();
  qnstack::Append(buffer, "first\r\nsecond\r\n\0rest"s);

  EXPECT_EQ(qnstack::ReadItem(buffer, "\r\n"), "first");
  EXPECT_EQ(qnstack::ReadItem(buffer, "\r\n"s), "second");
  EXPECT_EQ(qnstack::ReadItem(buffer, "\r\n"), std::nullopt);
  EXPECT_EQ(qnstack::Unread(buffer.get()), "\0rest"s);
  EXPECT_EQ(qnstack::Unread(buffer.get()), "\0rest"s) << "they stay unread";
}

TEST(FaceBuffer, IsAHandleThatMayBeEmpty) {
  Buffer none;
  qnstack::Append(none, "text");

  EXPECT_EQ(qnstack::ReadItem(none, ";"), std::nullopt);
  EXPECT_EQ(qnstack::Unread(nullptr), "");
  const FailingHeap heap(1);
  EXPECT_EQ(qnstack::MakeBuffer(10), nullptr);
}

TEST(FaceBuffer, AppendsNothingWhoseLengthHasNoNumberAndRefusesADelimiter) {
  auto buffer = qnstack::MakeBuffer(8);
  qnstack::Append(buffer, std::string_view("", std::size_t{INT32_MAX} + 1));
  EXPECT_EQ(buffer->length, 0U);
  qnstack::Append(buffer, "item;rest");
  EXPECT_EQ(qnstack::ReadItem(buffer, ";\0"s), std::nullopt);
  EXPECT_EQ(qnstack::Unread(buffer.get()), "item;rest");
}

TEST(FaceText, IsReleased) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    const qnstack::Text text(fnQNStack_StrDup("text"));
    EXPECT_STREQ(text.get(), "text");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

}  // namespace
