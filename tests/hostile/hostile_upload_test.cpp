// SPDX-License-Identifier: MIT
// Guards requests with long bodies to peers that go away, answer too early or
// shut one direction: the result is the documented one and no signal comes.
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "hostile_test.h"

namespace {

using namespace qntest;

constexpr std::size_t kBodyBytes = 5 << 20;
constexpr std::size_t kSomeBytes = 100000;
constexpr char kShortAnswer[] = "HTTP/1.0 200 OK\r\n\r\nabc";
const Ending kSendFailed = {-1, -12, 1, 0, ""};

volatile std::sig_atomic_t pipe_signals = 0;

void CountSignal(int /*signal*/) { pipe_signals = pipe_signals + 1; }

class HostileUpload : public qntest::HostileTest {
 protected:
  HostileUpload() : old_handler_(std::signal(SIGPIPE, CountSignal)) { pipe_signals = 0; }
  ~HostileUpload() override {
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    EXPECT_EQ(pipe_signals, 0);
    std::signal(SIGPIPE, old_handler_);
  }

  Ending EndingOfPost(const ConnectionScript &script) {
    Serve({script});
    const Context ctx(fnQNStack_Http_Open_Post(Url().c_str(), body_.data(),
                                               static_cast<int32_t>(body_.size()), "t/t"));
    const Ending ending = ReadToEnding(ctx.get());
    // What is known to be broken is what would raise the signal.
    if (ending == kSendFailed) {
      EXPECT_EQ(fnQNStack_Http_SendQuest(ctx.get()), -1);
    }
    return ending;
  }

  const std::string body_ = std::string(kBodyBytes, 'b');

 private:
  void (*old_handler_)(int);
};

INSTANTIATE_TEST_SUITE_P(, HostileUpload, qntest::kRoutes, qntest::RouteName);

// Sending comes before receiving, so an answer is lost.
TEST_P(HostileUpload, EndAmidTheBodyIsMinusTwelve) {
  const std::pair<const char *, ConnectionScript> ends[] = {
      {"Close", {ReadBytes(kSomeBytes), Close()}},
      {"Reset", {ReadBytes(kSomeBytes), Reset()}},
      {"ClosedReading", {ReadBytes(kSomeBytes), CloseReading(), Close()}},
      {"Answer", {ReadBytes(kSomeBytes), SendBytes(kShortAnswer), Close()}}};
  for (const auto &[topic, script] : ends) EXPECT_EQ(EndingOfPost(script), kSendFailed) << topic;
}

TEST_P(HostileUpload, AnswerAmidTheBodyIsReadBehindIt) {
  EXPECT_EQ(EndingOfPost({ReadHeader(), SendBytes(kShortAnswer), ReadBytes(kBodyBytes), HalfClose(),
                          ReadToEnd()}),
            (Ending{0, 5, 1, 200, "abc"}));
  EXPECT_EQ(server().Finish(), "");
}

TEST_P(HostileUpload, ClosedWritingAmidTheBodyIsAnEmptyAnswer) {
  EXPECT_EQ(EndingOfPost({ReadHeader(), HalfClose(), ReadToEnd()}), (Ending{0, 5, 1, 0, ""}));
  const std::string received = server().Received(0);
  EXPECT_EQ(received.size() - received.find("\r\n\r\n") - 4, kBodyBytes);
}

// The peer may not want the request at all; its answer comes all the same.
TEST_P(HostileUpload, ClosedDirectionDoesNotHinderTheAnswer) {
  const std::string part = "HTTP/1.0 200 OK\r\nContent-Length: 9\r\n\r\nabc";
  const std::tuple<const char *, ConnectionScript, Ending> peers[] = {
      {"WritingBeforeTheRequest", {HalfClose(), ReadToEnd()}, {0, 5, 1, 0, ""}},
      {"ReadingBeforeTheRequest",
       {CloseReading(), SendBytes(kShortAnswer), HalfClose(), AwaitSignal()},
       {0, 5, 1, 200, "abc"}},
      {"WritingBehindPartOfAnAnswer",
       {ReadHeader(), SendBytes(part), HalfClose(), AwaitSignal()},
       {0, 5, 1, 200, "abc"}}};
  for (const auto &[topic, script, ending] : peers) {
    SCOPED_TRACE(topic);
    Serve({script});
    const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
    EXPECT_EQ(ReadToEnding(ctx.get()), ending);
    server().Signal();
  }
}

}  // namespace
