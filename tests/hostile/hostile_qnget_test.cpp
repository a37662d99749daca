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
const std::string kStatusLine = "HTTP/1.0 200 OK\r\n";
const std::string kOk = kStatusLine + "\r\n";
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
    Measured("exit code " + std::to_string(result.exit_code));
  }

  // qnget itself gives up, long before the time is up, on a peer that begins
  // with some bytes and then sends others without end.
  void ExpectFailureInTime(const std::string &begin, const std::string &without_end) {
    const ProcessResult result =
        RunOn({ReadHeader(), SendBytes(begin), SendUntilGone(without_end)}, "/dev/null", "60");
    EXPECT_EQ(result.exit_code, kReceivingFailed);
    EXPECT_EQ(result.error.find("timed out"), std::string::npos) << result.error;
  }

 private:
  const qntest::ScratchFolder root_;
};

INSTANTIATE_TEST_SUITE_P(, HostileQnget, qntest::kRoutes, qntest::RouteName);

TEST_P(HostileQnget, PeerThatReadsNothingAndSaysNothingTimesOut) {
  ExpectTimeoutWithoutAFile({AwaitSignal()});
}

TEST_P(HostileQnget, PeerThatNeverAnswersTimesOut) {
  ExpectTimeoutWithoutAFile({ReadHeader(), AwaitSignal()});
}

TEST_P(HostileQnget, HeaderThatDripsTimesOut) {
  ExpectTimeoutWithoutAFile(
      {ReadHeader(), SendBytes(kStatusLine), SendUntilGone("x", milliseconds(5))});
}

TEST_P(HostileQnget, InterimAnswersThatDripTimeOut) {
  ExpectTimeoutWithoutAFile({ReadHeader(), SendUntilGone(kInterim, milliseconds(5))});
}

TEST_P(HostileQnget, ChunksThatDripTimeOut) {
  ExpectTimeoutWithoutAFile(
      {ReadHeader(), SendBytes(kChunked), SendUntilGone("1\r\nx\r\n", milliseconds(5))});
}

TEST_P(HostileQnget, BodyThatDripsTimesOut) {
  ExpectTimeoutWithoutAFile({ReadHeader(), SendBytes(kOk), SendUntilGone("x", milliseconds(5))});
}

TEST_P(HostileQnget, BodyThatNeverEndsTimesOut) {
  const ProcessResult result =
      RunOn({ReadHeader(), SendBytes(kOk), SendUntilGone(std::string(65536, 'x'))}, "/dev/null");
  EXPECT_EQ(result.exit_code, kTimedOut) << result.error;
}

TEST_P(HostileQnget, HeaderLineThatNeverEndsIsAFailure) {
  ExpectFailureInTime(kStatusLine, std::string(65536, 'h'));
}

TEST_P(HostileQnget, HeaderWithoutAnEndIsAFailure) { ExpectFailureInTime(kStatusLine, "X: y\r\n"); }

TEST_P(HostileQnget, WhatIsNoHeaderIsAFailure) { ExpectFailureInTime("", std::string(65536, 'h')); }

TEST_P(HostileQnget, InterimAnswersWithoutEndAreAFailure) { ExpectFailureInTime("", kInterim); }

TEST_P(HostileQnget, ChunkSizeThatNeverEndsIsAFailure) {
  ExpectFailureInTime(kChunked, std::string(65536, '0'));
}

TEST_P(HostileQnget, ChunkExtensionThatNeverEndsIsAFailure) {
  ExpectFailureInTime(kChunked + "5;", std::string(65536, 'x'));
}

TEST_P(HostileQnget, TrailersWithoutEndAreAFailure) {
  ExpectFailureInTime(kChunked + "0\r\n", "X: y\r\n");
}

}  // namespace

#endif
