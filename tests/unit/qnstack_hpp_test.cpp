// Guards the C++ face: what its handles own and release, its ranges, its
// strings, and its enums beside the numbers of the C interface.
#include "qnstack/qnstack.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/transfer_test.h"

namespace {

using namespace std::string_literals;
using qnstack::Result;
using qnstack::State;
using qntest::Deliver;
using qntest::FailingHeap;
using qntest::FailWith;
using qntest::Give;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_nothrow_move_constructible_v<qnstack::Context>);
static_assert(!std::is_copy_constructible_v<qnstack::Context>);
static_assert(!std::is_copy_constructible_v<qnstack::Buffer>);
static_assert(std::is_nothrow_move_constructible_v<qnstack::Settings>);
static_assert(std::is_nothrow_move_assignable_v<qnstack::Settings>);
static_assert(!std::is_copy_constructible_v<qnstack::Settings>);
static_assert(!std::is_copy_assignable_v<qnstack::Settings>);
static_assert(sizeof(qnstack::Context) == sizeof(QNHttpCtx *));
static_assert(sizeof(qnstack::Buffer) == sizeof(QNMemBuffer *));

static_assert(qnstack::ResultOf(-1) == Result::kFailed);
static_assert(qnstack::ResultOf(-2) == Result::kAgain);
static_assert(qnstack::ResultOf(-3) == Result::kFailed);
static_assert(qnstack::ResultOf(0) == Result::kDone);
static_assert(qnstack::ResultOf(1) == Result::kData);

class FaceTransfer : public qntest::TransferTest {};

TEST_F(FaceTransfer, ReadsABodyWhole) {
  const std::string body(10000, 'x');
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\n"), Deliver(body), Give(0)});
  const auto context = qnstack::OpenGet("http://h/");
  std::string text = "before ";

  EXPECT_EQ(qnstack::StateOf(context), State::kNew);
  EXPECT_EQ(qnstack::ReadBody(context, text), Result::kDone);

  EXPECT_EQ(text, "before " + body);
  EXPECT_EQ(context->retValue, 200);
  EXPECT_EQ(qnstack::StateOf(context), State::kComplete);
}

TEST_F(FaceTransfer, ReadsNoMoreOfABodyThanIsAskedFor) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\n0123456789"), Give(0)});
  const auto context = qnstack::OpenGet("http://h/");
  std::string text;

  EXPECT_EQ(qnstack::ReadBody(context, text, 0), Result::kData);
  EXPECT_EQ(network_.Calls().size(), 0U) << "nothing is asked for";
  EXPECT_EQ(qnstack::ReadBody(context, text, 4), Result::kData);
  EXPECT_EQ(text, "0123");
  EXPECT_EQ(qnstack::ReadBody(context, text, 6), Result::kData);
  EXPECT_EQ(qnstack::ReadBody(context, text, 1), Result::kDone);
  EXPECT_EQ(text, "0123456789");
}

TEST_F(FaceTransfer, ReadsARawAnswer) {
  network_.AddPeer({Deliver("HTTP/1.0 204 No Content\r\n\r\n"), Give(0)});
  const auto context = qnstack::OpenHead("http://h/");
  std::string answer;

  EXPECT_EQ(qnstack::ReadAnswer(context, answer), Result::kDone);

  EXPECT_EQ(answer, "HTTP/1.0 204 No Content\r\n\r\n");
  EXPECT_STREQ(context->method, "HEAD");
}

TEST_F(FaceTransfer, TellsFailuresApartByTheState) {
  std::string text;
  network_.AddPeer({FailWith(ECONNRESET)});
  const auto reset = qnstack::OpenGet("http://h/");
  EXPECT_EQ(qnstack::ReadBody(reset, text), Result::kFailed);
  EXPECT_EQ(qnstack::StateOf(reset), State::kReceiveFailed);

  const auto unknown = qnstack::OpenGet("http://unknown/");
  EXPECT_EQ(qnstack::ReadBody(unknown, text), Result::kFailed);
  EXPECT_EQ(qnstack::StateOf(unknown), State::kResolveFailed);

  const auto none = qnstack::OpenGet(nullptr);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(qnstack::ReadBody(none, text), Result::kFailed);
  EXPECT_EQ(qnstack::StateOf(none), State::kNone);
  EXPECT_THAT(text, IsEmpty());
}

TEST_F(FaceTransfer, HandsABodyInWithItsLength) {
  const std::string body = "a\0b"s;
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\n"), Give(0)});
  const auto post = qnstack::OpenPost("http://h/", body, "text/plain");
  const auto put = qnstack::OpenPut("http://h/", body);
  std::string text;

  EXPECT_EQ(qnstack::ReadBody(post, text), Result::kDone);

  EXPECT_THAT(network_.Sent(), testing::StartsWith("POST / HTTP/1.0\r\n"));
  EXPECT_THAT(network_.Sent(), testing::EndsWith("\r\n\r\na\0b"s));
  EXPECT_STREQ(put->method, "PUT");
  EXPECT_EQ(put->content, body.data());
  EXPECT_EQ(put->contentLen, 3);
}

TEST_F(FaceTransfer, RefusesABodyWhoseLengthHasNoNumber) {
  const std::string_view huge("", std::size_t{INT32_MAX} + 1);

  EXPECT_EQ(qnstack::OpenPost("http://h/", huge), nullptr);
  EXPECT_EQ(qnstack::OpenPut("http://h/", huge), nullptr);
}

TEST_F(FaceTransfer, OpensATunnel) {
  const auto tunnel = qnstack::OpenConnect("h", 443);

  EXPECT_STREQ(tunnel->method, "CONNECT");
  EXPECT_STREQ(tunnel->hostname, "h");
  EXPECT_EQ(tunnel->port, 443);
}

TEST_F(FaceTransfer, GivesAllOfAContextBack) {
  FailingHeap heap(FailingHeap::kCountOnly);
  {
    network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\nbody"), Give(0)});
    auto context = qnstack::OpenGet("http://h/");
    const auto moved = std::move(context);
    std::string text;
    EXPECT_EQ(qnstack::ReadBody(moved, text, 2), Result::kData);
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceBuffer, TakesBytesAndGivesItems) {
  const auto buffer = qnstack::MakeBuffer();
  qnstack::Append(buffer, "first\r\nsecond\r\n\0rest"s);

  EXPECT_EQ(qnstack::ReadItem(buffer, "\r\n"), "first");
  EXPECT_EQ(qnstack::ReadItem(buffer, "\r\n"), "second");
  EXPECT_EQ(qnstack::ReadItem(buffer, "\r\n"), std::nullopt);
  EXPECT_EQ(qnstack::Unread(buffer.get()), "\0rest"s);
  EXPECT_EQ(qnstack::Unread(buffer.get()), "\0rest"s) << "they stay unread";
}

TEST(FaceBuffer, IsAHandleThatMayBeEmpty) {
  const qnstack::Buffer none;
  qnstack::Append(none, "text");

  EXPECT_EQ(qnstack::ReadItem(none, ";"), std::nullopt);
  EXPECT_EQ(qnstack::Unread(nullptr), "");
  const FailingHeap heap(1);
  EXPECT_EQ(qnstack::MakeBuffer(10), nullptr);
}

TEST(FaceBuffer, AppendsNothingWhoseLengthHasNoNumber) {
  const auto buffer = qnstack::MakeBuffer(8);

  qnstack::Append(buffer, std::string_view("", std::size_t{INT32_MAX} + 1));

  EXPECT_EQ(buffer->length, 0U);
}

TEST(FaceText, IsReleased) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    const qnstack::Text text(fnQNStack_StrDup("text"));
    EXPECT_STREQ(text.get(), "text");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceText, IsDecoded) {
  const FailingHeap heap(FailingHeap::kCountOnly);

  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF16, "\xFF\xFEH\0i\0"s), "Hi");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_LATIN1, "\xE9"), "\u00e9");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF8, "a\0b"s), "a");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF8, ""), std::nullopt);
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

// A list of texts, as an application makes one.
qnstack::List<char> Letters(std::initializer_list<const char *> texts) {
  qnstack::List<char> letters;
  for (const char *text : texts) fnQNList_AddTail(letters.get(), fnQNStack_StrDup(text));
  return letters;
}

std::string Joined(const qnstack::List<char> &letters) {
  std::string joined;
  for (const char &letter : letters) joined += &letter;
  return joined;
}

TEST(FaceRange, WalksAnyList) {
  std::vector<int> numbers = {3, 1, 2};
  QNList list = {};
  for (int &number : numbers) fnQNList_AddTail(&list, &number);

  const qnstack::Range<const int> range(&list);
  EXPECT_THAT(std::vector<int>(range.begin(), range.end()), ElementsAre(3, 1, 2));
  EXPECT_EQ(*std::max_element(range.begin(), range.end()), 3);
  EXPECT_EQ(std::next(range.begin(), 2).node(), fnQNList_EndIter(&list));
  for (int &number : qnstack::Range<int>(&list)) ++number;

  EXPECT_THAT(numbers, ElementsAre(4, 2, 3));
  fnQNList_Clear(&list, nullptr);
  EXPECT_TRUE(range.begin() == range.end());
  EXPECT_EQ(qnstack::Range<int>(nullptr).begin().node(), nullptr);
}

TEST(FaceRange, StandsWhileAnotherElementGoes) {
  auto letters = Letters({"a", "b", "c"});

  auto at = letters.begin();
  const auto before = at++;
  qnstack::Text gone(&*before);
  fnQNList_Remove(letters.get(), before.node());

  EXPECT_STREQ(&*at, "b");
  EXPECT_EQ(Joined(letters), "bc");
}

TEST(FaceList, ReleasesItsElements) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    auto letters = Letters({"a", "b"});
    auto other = Letters({"c"});
    other = std::move(letters);
    EXPECT_EQ(Joined(other), "ab");
    EXPECT_EQ(fnQNList_IsEmpty(letters.get()), 1) << "moved from, it is empty";
    auto &itself = other;
    other = std::move(itself);
    EXPECT_EQ(Joined(other), "ab");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceList, LeavesElementsAloneThatAreNotItsOwn) {
  int number = 7;
  {
    qnstack::List<int> numbers(nullptr);
    fnQNList_AddTail(numbers.get(), &number);
    const auto moved = std::move(numbers);
    EXPECT_EQ(*moved.begin(), 7);
  }
  EXPECT_EQ(number, 7);
}

class FaceSettings : public qntest::FilePortTest {};

TEST_F(FaceSettings, AreReadAsStrings) {
  Files().Write("/ini", "port\0"s + "80\0\nempty\0\0\n"s);
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    const auto settings = qnstack::LoadSettings("/ini");
    std::vector<std::string> keys;
    for (const QNFSIniEntry &entry : settings) keys.emplace_back(entry.key);

    EXPECT_THAT(keys, ElementsAre("port", "empty"));
    EXPECT_EQ(qnstack::SettingOf(settings, "port"), "80");
    EXPECT_EQ(qnstack::SettingOf(settings, "empty"), "");
    EXPECT_EQ(qnstack::SettingOf(settings, "Port"), std::nullopt);
    EXPECT_EQ(qnstack::SettingOf(settings, nullptr), std::nullopt);
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST_F(FaceSettings, AreNoneWithoutAFile) {
  const auto settings = qnstack::LoadSettings("/none");

  EXPECT_TRUE(settings.begin() == settings.end());
}

TEST_F(FaceSettings, MayLackAValueThatTheHeapRefused) {
  auto settings = qnstack::LoadSettings("/none");
  fnQNFS_INI_WriteRAM(settings.get(), "key", "value");
  {
    const FailingHeap heap(1);
    EXPECT_EQ(fnQNFS_INI_WriteRAM(settings.get(), "key", "other"), 0);
  }

  EXPECT_STREQ(settings.begin()->key, "key");
  EXPECT_EQ(qnstack::SettingOf(settings, "key"), std::nullopt);
}

}  // namespace
