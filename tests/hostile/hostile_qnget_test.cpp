// Guards qnget against peers that never come to an end: its time limit ends it
// with exit code 4, and no file is left of what has come.
#ifdef QNGET_PROGRAM

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "hostile_test.h"
#include "support/process.h"
#include "support/scratch_folder.h"

namespace {

using qntest::AwaitSignal;
using qntest::ConnectionScript;
using qntest::ProcessResult;
using qntest::ReadHeader;
using qntest::RunProgram;
using qntest::SendBytes;
using qntest::SendUntilGone;
using std::chrono::milliseconds;

constexpr int kTimedOut = 4;
constexpr int kReceivingFailed = 4;
const std::string kOk = "HTTP/1.0 200 OK\r\n\r\n";

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
  ExpectTimeoutWithoutAFile({ReadHeader(), SendUntilGone("x", milliseconds(5))});
}

TEST_P(HostileQnget, BodyThatDripsTimesOut) {
  ExpectTimeoutWithoutAFile({ReadHeader(), SendBytes(kOk), SendUntilGone("x", milliseconds(5))});
}

TEST_P(HostileQnget, BodyThatNeverEndsTimesOut) {
  const ProcessResult result =
      RunOn({ReadHeader(), SendBytes(kOk), SendUntilGone(std::string(65536, 'x'))}, "/dev/null");
  EXPECT_EQ(result.exit_code, kTimedOut) << result.error;
}

// The client itself gives up long before the time is up.
TEST_P(HostileQnget, HeaderLineThatNeverEndsIsAFailure) {
  const ProcessResult result =
      RunOn({ReadHeader(), SendUntilGone(std::string(65536, 'h'))}, "/dev/null", "60");
  EXPECT_EQ(result.exit_code, kReceivingFailed);
  EXPECT_EQ(result.error.find("timed out"), std::string::npos) << result.error;
}

}  // namespace

#endif
