// SPDX-License-Identifier: MIT
// Guards answers that break off: at every byte of an answer the peer resets or
// closes, and the client gives exactly what had come.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "answer_model.h"
#include "hostile_test.h"

namespace {

using namespace qntest;

constexpr std::size_t kAnswerBytes = 300;

// An answer of 300 bytes with that status line and the rest the same.
std::string AnswerOf300(const std::string &status) {
  std::string answer = status +
                       "Date: Mon, 15 Jun 2009 12:00:00 GMT\r\nContent-Type: text/plain\r\n"
                       "Set-Cookie: sid=42; Path=/m\r\nContent-Length: 150\r\n\r\n";
  while (answer.size() < kAnswerBytes) answer += static_cast<char>('a' + answer.size() % 26);
  return answer;
}

class HostileCut : public qntest::WatchedHostileTest {
 protected:
  // The first `count` bytes, and the end once they have been received.
  static ConnectionScript Cut(const std::string &answer, std::size_t count, const Step &end) {
    if (count == 0) return {ReadHeader(), end};
    return {ReadHeader(), SendBytes(answer.substr(0, count)), AwaitSignal(), end};
  }

  // One transfer whose answer is cut behind `count` bytes.
  Ending EndingOfCut(const std::string &answer, std::size_t count, const Step &end,
                     qntest::ReadCall read = fnQNStack_Http_ReadRecvContext) {
    Serve({Cut(answer, count, end)});
    const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
    return ReadToEnding(ctx.get(), read);
  }
};

INSTANTIATE_TEST_SUITE_P(, HostileCut, qntest::kRoutes, qntest::RouteName);

// A reset after some data counts as the end, and the slot goes at once; before
// any byte it is a failure that keeps the slot until the context is freed.
TEST_P(HostileCut, ResetAtEveryByteGivesWhatHadCome) {
  const std::string answer = AnswerOf300("HTTP/1.0 200 OK\r\n");
  ASSERT_EQ(answer.size(), kAnswerBytes);
  for (const auto read : {fnQNStack_Http_ReadRecvContext, fnQNStack_Http_ReadRecvData}) {
    const bool raw = read == fnQNStack_Http_ReadRecvData;
    EXPECT_EQ(EndingOfCut(answer, 0, Reset(), read), (Ending{-1, -13, 1, 0, ""}));
    for (std::size_t count = 1; count <= answer.size(); ++count) {
      const std::string came = answer.substr(0, count);
      const ModelAnswer expected = raw ? ModelAnswer{0, {}, came} : ModelOf(came);
      ASSERT_EQ(EndingOfCut(answer, count, Reset(), read),
                (Ending{0, 5, -1, expected.status, expected.body}))
          << count << " bytes" << (raw ? " of a raw answer" : "");
    }
  }
  Measured("602 resets");
}

TEST_P(HostileCut, CloseAtEveryByteGivesWhatHadCome) {
  const std::string answer = AnswerOf300("HTTP/1.0 200 OK\r\n");
  for (std::size_t count = 0; count <= answer.size(); ++count) {
    const ModelAnswer expected = ModelOf(answer.substr(0, count));
    ASSERT_EQ(EndingOfCut(answer, count, Close()),
              (Ending{0, 5, 1, expected.status, expected.body}))
        << count << " bytes";
  }
  Measured("301 closes");
}

// Once the status line is there a cut answer redirects: to its location if that
// line is complete, else to the same URL again.
TEST_P(HostileCut, RedirectCutAtEveryByteFollowsWhatItKnows) {
  const std::string answer =
      AnswerOf300("HTTP/1.0 302 Found\r\nLocation: " + Url("/n", "other.test") + "\r\n");
  for (const Step &end : {Reset(), Close()}) {
    for (std::size_t count = 1; count <= answer.size(); ++count) {
      SCOPED_TRACE(count);
      const ModelAnswer expected = ModelOf(answer.substr(0, count));
      Serve({Cut(answer, count, end), qntest::AnswerWith("HTTP/1.0 200 OK\r\n\r\nlast")});
      const Context ctx(fnQNStack_Http_Open_Get(Url("/m").c_str()));
      const Ending ending = ReadToEnding(ctx.get());
      if (expected.status == 0) {
        ASSERT_EQ(ending.delivered, expected.body);
        ASSERT_EQ(server().accepted(), 1U);
        continue;
      }
      ASSERT_EQ(ending, (Ending{0, 5, 1, 200, "last"}));
      const std::string asked = server().Received(1);
      ASSERT_EQ(asked.substr(0, asked.find("\r\n")),
                expected.location.empty() ? FirstLine("/m") : FirstLine("/n", "other.test"));
    }
  }
}

}  // namespace
