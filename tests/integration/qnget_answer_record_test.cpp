// SPDX-License-Identifier: MIT
// What qnget takes down of an answer while it comes in, and what of it stands
// against keeping it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "answer_record.h"
#include "support/scripted_clock.h"

namespace qntest {
namespace {

using qnget::AnswerRecord;

constexpr int64_t kNow = ScriptedClock::kStart;

class QngetAnswerRecord : public testing::Test {
 protected:
  QngetAnswerRecord() { record_.Start(); }

  void TakeHead(int status, const std::string &fields) {
    record_.TakeHead(
        qnget::ReadAnswerHead("HTTP/1.1 " + std::to_string(status) + " X\r\n" + fields));
  }

  // A whole answer that is fresh for a minute.
  void TakeAnswer(const std::string &fields = {}) {
    TakeHead(200, "Cache-Control: max-age=60\r\n" + fields);
    record_.TakeBody("body");
    record_.Complete();
  }

  ScriptedClock clock_{{.year = 2026, .month = 1, .day = 1}};
  AnswerRecord record_;
};

TEST_F(QngetAnswerRecord, HasBodyTypeAndTimes) {
  clock_.SetSeconds(kNow + 20);
  TakeAnswer("Content-Type: text/plain ; charset=utf-8\r\n");

  EXPECT_EQ(record_.Body(), "body");
  EXPECT_EQ(record_.Type(), "text/plain");
  EXPECT_EQ(record_.Came(), kNow + 20);
  EXPECT_EQ(record_.Lifetime().until, kNow + 60) << "it was 20 seconds on its way";
}

// The request for the next hop goes out when the redirect has come.
TEST_F(QngetAnswerRecord, CountsTheWayOfEachHopByItself) {
  clock_.SetSeconds(kNow + 20);
  TakeHead(301, "Location: /x\r\n");
  clock_.SetSeconds(kNow + 25);
  TakeAnswer();

  EXPECT_EQ(record_.Lifetime().until, kNow + 20 + 60);
}

TEST_F(QngetAnswerRecord, LeavesOutInterimAnswers) {
  TakeHead(100, "Cache-Control: no-store\r\n");
  TakeHead(103, "Vary: X\r\n");
  TakeAnswer();

  EXPECT_EQ(record_.Lifetime().until, kNow + 60);
  EXPECT_THAT(record_.Varying(), testing::IsEmpty());
}

TEST_F(QngetAnswerRecord, ForgetsAnEarlierTry) {
  TakeHead(302, "Vary: X\r\n");
  record_.TakeBody("elsewhere");
  record_.Start();
  TakeAnswer();

  EXPECT_EQ(record_.Lifetime().until, kNow + 60);
  EXPECT_EQ(record_.Body(), "body");
  EXPECT_THAT(record_.Varying(), testing::IsEmpty());
}

TEST_F(QngetAnswerRecord, VariesWithWhatAnyAnswerOnTheWayDoes) {
  TakeHead(302, "Vary: A, B\r\n");
  TakeAnswer("Vary: C\r\n");

  EXPECT_THAT(record_.Varying(), testing::ElementsAre("A", "B", "C"));
}

TEST_F(QngetAnswerRecord, IsNotKeptUnlessItIsWhole) {
  EXPECT_EQ(record_.Lifetime().why_not, "no answer came");
  TakeHead(200, "Cache-Control: max-age=60\r\n");
  record_.TakeBody("body");

  EXPECT_EQ(record_.Lifetime().why_not, "it is not known to be whole");
}

TEST_F(QngetAnswerRecord, IsNotKeptIfItIsTooLarge) {
  TakeAnswer();
  record_.TakeBody(std::string(1048576 - 5, 'x'));
  EXPECT_TRUE(record_.Lifetime().MayBeKept());

  record_.TakeBody("x");
  record_.TakeBody("x");

  EXPECT_EQ(record_.Lifetime().why_not, "it has 1 MiB or more");
  EXPECT_EQ(record_.Body(), "");
}

TEST_F(QngetAnswerRecord, IsNotKeptIfItTookLongerThanItLives) {
  TakeAnswer();
  clock_.SetSeconds(kNow + 60);

  EXPECT_EQ(record_.Lifetime().why_not, "nothing is left of its lifetime");
}

TEST_F(QngetAnswerRecord, MayVaryWithACookieThatNoServerHasSet) {
  TakeAnswer("Vary: Cookie\r\nSet-Cookie: a=b\r\n");

  EXPECT_TRUE(record_.Lifetime().MayBeKept());
}

// The jar goes on to the next try.
TEST_F(QngetAnswerRecord, MayNotVaryWithACookieOfAnEarlierTry) {
  TakeHead(302, "Set-Cookie: a=b\r\n");
  record_.Start();
  TakeAnswer("Vary: cookie\r\n");

  EXPECT_EQ(record_.Lifetime().why_not, "Vary: Cookie, and a cookie was sent");
}

}  // namespace
}  // namespace qntest
