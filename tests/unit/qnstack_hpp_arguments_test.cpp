// SPDX-License-Identifier: MIT
// Guards what the C++ face takes: texts with and without a terminator, and the
// bodies that must outlive the call.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using qnstack::Terminated;
using qntest::FailingHeap;

static_assert(!std::is_copy_constructible_v<Terminated>, "it is a parameter and nothing else");

// Whether a body of that type and value category may be handed in.
template <typename Body, typename = void>
struct IsPosted : std::false_type {};
template <typename Body>
struct IsPosted<Body, std::void_t<decltype(qnstack::OpenPost("", std::declval<Body>()))>>
    : std::true_type {};
template <typename Body, typename = void>
struct IsPut : std::false_type {};
template <typename Body>
struct IsPut<Body, std::void_t<decltype(qnstack::OpenPut("", std::declval<Body>()))>>
    : std::true_type {};

static_assert(IsPosted<std::string &>() && IsPut<std::string &>());
static_assert(IsPosted<const std::string &>() && IsPut<const std::string &>());
static_assert(IsPosted<std::string_view>() && IsPut<std::string_view>());
static_assert(IsPosted<const char *>() && IsPut<const char *>());
static_assert(IsPosted<const char (&)[5]>() && IsPut<const char (&)[5]>());
static_assert(!IsPosted<std::string>() && !IsPut<std::string>(), "it ends with the statement");
static_assert(!IsPosted<const std::string>() && !IsPut<const std::string>());

TEST(FaceArguments, TakeACStringAndAStringAsTheyAre) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  const char *literal = "text";
  const std::string string = "text";

  EXPECT_EQ(Terminated(literal).get(), literal);
  EXPECT_EQ(Terminated(string).get(), string.c_str());
  EXPECT_EQ(Terminated(nullptr).get(), nullptr);
  EXPECT_FALSE(Terminated(nullptr).IsRefused()) << "NULL means what it means in C";
  EXPECT_EQ(heap.Allocations(), 0);
}

TEST(FaceArguments, TerminateACopyOfAView) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    const Terminated part("texts"sv.substr(0, 4));
    const Terminated empty{std::string_view()};

    EXPECT_STREQ(part.get(), "text");
    EXPECT_STREQ(empty.get(), "");
    EXPECT_FALSE(part.IsRefused() || empty.IsRefused());
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceArguments, RefuseATextThatCWouldCutOrThatHasNoRoomOrNumber) {
  const std::string string = "a\0b"s;
  const std::string_view huge("", std::size_t{INT32_MAX} + 1);
  const FailingHeap heap(1);
  // The first view is what the heap has no room for.
  for (const Terminated &text :
       {Terminated("text"sv), Terminated(string), Terminated("a\0b"sv), Terminated(huge)}) {
    EXPECT_TRUE(text.IsRefused());
    EXPECT_EQ(text.get(), nullptr);
  }
  EXPECT_EQ(heap.Refusals(), 1);
}

TEST(FaceArguments, MayBeAnyTextOfAUrl) {
  const std::string url = "http://h:81/p?q";

  for (const auto &context : {qnstack::OpenGet(url), qnstack::OpenGet(url.c_str()),
                              qnstack::OpenGet(std::string_view(url)), qnstack::OpenGet(url + ""),
                              qnstack::OpenHead(url)}) {
    ASSERT_NE(context, nullptr);
    EXPECT_STREQ(context->url, "http://h:81/p?q");
    EXPECT_STREQ(context->hostname, "h");
  }
}

TEST(FaceArguments, LeaveAContextEmptyWhereOneIsRefused) {
  const std::string url = "http://h/\0x"s;
  const std::string_view huge("", std::size_t{INT32_MAX} + 1);
  EXPECT_EQ(qnstack::OpenGet(url), nullptr);
  EXPECT_EQ(qnstack::OpenHead(url), nullptr);
  EXPECT_EQ(qnstack::OpenPost(url, "body"), nullptr);
  EXPECT_EQ(qnstack::OpenPost("http://h/", "body", "a\0b"sv), nullptr)
      << "the default type would be another than was meant";
  EXPECT_EQ(qnstack::OpenPut("http://h/", "body", "a\0b"sv), nullptr);
  EXPECT_EQ(qnstack::OpenConnect("h\0x"sv, 443), nullptr);
  EXPECT_EQ(qnstack::OpenPost("http://h/", huge), nullptr);
  EXPECT_EQ(qnstack::OpenPut("http://h/", huge), nullptr);
}

TEST(FaceArguments, KeepABodyWhereItStandsOrNone) {
  const std::string body = "a\0b"s;
  const char *none = nullptr;
  const auto post = qnstack::OpenPost("http://h/", body, "text/plain");
  const auto put = qnstack::OpenPut("http://h/", std::string_view(body));

  EXPECT_STREQ(post->method, "POST");
  EXPECT_STREQ(put->method, "PUT");
  EXPECT_STREQ(post->contentType, "text/plain");
  for (const auto *context : {&post, &put}) {
    EXPECT_EQ((*context)->content, body.data());
    EXPECT_EQ((*context)->contentLen, 3);
  }
  EXPECT_EQ(qnstack::OpenPut("http://h/", "body")->contentLen, 4);
  EXPECT_EQ(qnstack::OpenPost("http://h/", none)->contentLen, 0);
  EXPECT_EQ(qnstack::OpenPut("http://h/", none)->contentLen, 0);
  EXPECT_EQ(qnstack::OpenPost("http://h/", std::string_view())->contentLen, 0);
}

}  // namespace
