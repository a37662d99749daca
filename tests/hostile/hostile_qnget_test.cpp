// SPDX-License-Identifier: MIT
// Guards qnget against peers that never come to an end: its time limit or a limit
// of what it takes ends it with exit code 4, and no file is left of what has come.
#ifdef QNGET_PROGRAM

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "hostile_test.h"
#include "support/process.h"
#include "support/scratch_folder.h"

namespace {

using namespace qntest;
using std::chrono::milliseconds;

constexpr int kTimedOut = 4;
constexpr int kReceivingFailed = 4;
const std::string kInterim = "HTTP/1.1 100 Continue\r\n\r\n";
const std::string kChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

class HostileQnget : public qntest::HostileTest {
 protected:
  // Runs qnget on the peer with that script.
  ProcessResult RunOn(const ConnectionScript &script, const std::string &output,
                      const std::string &seconds = "0.3") {
    Serve({script});
    std::vector<std::string> command = {QNGET_PROGRAM, "--root",    root_.path(), "-o",
                                        output,        "--timeout", seconds};
    // An empty name keeps the proxy of whoever runs the tests out.
    const std::string proxy = "127.0.0.1:" + std::to_string(server().port());
    command.insert(command.end(), {"--proxy", GetParam() == qntest::Route::kProxy ? proxy : ""});
    command.push_back(Url());
    return RunProgram(command);
  }

  // The same into a file, which must not be there afterwards.
  void ExpectTimeoutWithoutAFile(const ConnectionScript &script) {
    const qntest::ScratchFolder folder;
    const ProcessResult result = RunOn(script, folder.path("message"));
    EXPECT_EQ(result.exit_code, kTimedOut) << result.error;
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
  }

 private:
  const qntest::ScratchFolder root_;
};

INSTANTIATE_TEST_SUITE_P(, HostileQnget, qntest::kRoutes, qntest::RouteName);

TEST_P(HostileQnget, PeerThatNeverAnswersTimesOut) {
  ExpectTimeoutWithoutAFile({AwaitSignal()});
  ExpectTimeoutWithoutAFile({ReadHeader(), AwaitSignal()});
}

struct Endless {
  const char *topic;
  std::string begin;
  std::string without_end;
};

TEST_P(HostileQnget, AnswerThatDripsTimesOut) {
  const Endless answers[] = {{"Header", kStatusLine, "x"},
                             {"InterimAnswers", "", kInterim},
                             {"Chunks", kChunked, "1\r\nx\r\n"},
                             {"Body", kOk, "x"}};
  for (const Endless &answer : answers) {
    SCOPED_TRACE(answer.topic);
    ExpectTimeoutWithoutAFile({ReadHeader(), SendBytes(answer.begin),
                               SendUntilGone(answer.without_end, milliseconds(5))});
  }
}

TEST_P(HostileQnget, BodyThatNeverEndsTimesOut) {
  const ProcessResult result =
      RunOn({ReadHeader(), SendBytes(kOk), SendUntilGone(std::string(65536, 'x'))}, "/dev/null");
  EXPECT_EQ(result.exit_code, kTimedOut) << result.error;
}

// qnget itself gives up, long before the time is up.
TEST_P(HostileQnget, WhatNeverEndsButTheBodyIsAFailure) {
  const Endless answers[] = {{"HeaderLine", kStatusLine, std::string(65536, 'h')},
                             {"Header", kStatusLine, "X: y\r\n"},
                             {"WhatIsNoHeader", "", std::string(65536, 'h')},
                             {"InterimAnswers", "", kInterim},
                             {"ChunkSize", kChunked, std::string(65536, '0')},
                             {"ChunkExtension", kChunked + "5;", std::string(65536, 'x')},
                             {"Trailers", kChunked + "0\r\n", "X: y\r\n"}};
  for (const Endless &answer : answers) {
    SCOPED_TRACE(answer.topic);
    const ProcessResult result =
        RunOn({ReadHeader(), SendBytes(answer.begin), SendUntilGone(answer.without_end)},
              "/dev/null", "60");
    EXPECT_EQ(result.exit_code, kReceivingFailed);
    EXPECT_EQ(result.error.find("timed out"), std::string::npos) << result.error;
  }
}

}  // namespace

#endif
