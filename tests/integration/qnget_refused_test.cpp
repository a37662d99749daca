// SPDX-License-Identifier: MIT
// The settings of qnget where the system refuses a kind of call for good: the
// program says so in one sentence, and what was set is there in later calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "qnget_program.h"
#include "qnget_root_folder.h"
#include "support/process.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::MatchesRegex;

struct RefusedCall {
  const char *call;
  const char *reason;
  int error;
};

void PrintTo(const RefusedCall &refusal, std::ostream *out) {
  *out << refusal.call << " with " << refusal.reason;
}

constexpr char kOld[] = "proxy: 127.0.0.1:1\naccept: a/b\n";

class QngetRefused : public RootFolder, public testing::WithParamInterface<RefusedCall> {
 protected:
  QngetRefused() {
    Set("proxy", "127.0.0.1:1");
    Set("accept", "a/b");
    EXPECT_EQ(List(), kOld);
  }

  std::string List() const { return Run({"config", "list"}).output; }

  // The same where the call is refused, perhaps after some that are not.
  ProcessResult RunRefused(const Words &arguments, int after = 0) const {
    const Words environment = {std::string("QNSTACK_REFUSED_CALL=") + GetParam().call,
                               "QNSTACK_REFUSED_ERROR=" + std::to_string(GetParam().error),
                               "QNSTACK_REFUSED_AFTER=" + std::to_string(after)};
    return RunProgram(RefusedCallCommand(Rooted(arguments)), {.environment = environment});
  }

  static void ExpectRefused(const ProcessResult &result) {
    EXPECT_EQ(result.exit_code, 6);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, MatchesRegex("qnget: [^\n]+\n"));
  }
};

INSTANTIATE_TEST_SUITE_P(
    Call, QngetRefused,
    testing::Values(RefusedCall{"renameat", "EACCES", EACCES},
                    RefusedCall{"renameat", "ENOSPC", ENOSPC}, RefusedCall{"fstat", "EIO", EIO},
                    RefusedCall{"write", "ENOSPC", ENOSPC}, RefusedCall{"fsync", "EIO", EIO},
                    RefusedCall{"read", "EIO", EIO}, RefusedCall{"open", "EMFILE", EMFILE},
                    RefusedCall{"openat", "EMFILE", EMFILE},
                    RefusedCall{"openat2", "EMFILE", EMFILE}),
    [](const auto &test) { return std::string(test.param.call) + "_" + test.param.reason; });

TEST_P(QngetRefused, SetKeepsTheSettings) {
  ExpectRefused(RunRefused({"config", "set", "accept", "c/d"}));
  EXPECT_EQ(List(), kOld);

  EXPECT_EQ(Run({"config", "set", "accept", "c/d"}).exit_code, 0);
  EXPECT_EQ(Run({"config", "get", "accept"}).output, "c/d\n");
}

// Until so many calls go through that the value is set.
TEST_P(QngetRefused, SetKeepsTheSettingsWhereverTheRefusalBegins) {
  const Words set = {"config", "set", "accept", "c/d"};
  int after = 1;
  ProcessResult result = RunRefused(set, after);
  while (result.exit_code != 0 && after < 50) {
    SCOPED_TRACE(after);
    ExpectRefused(result);
    EXPECT_EQ(List(), kOld);
    result = RunRefused(set, ++after);
  }
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(List(), "proxy: 127.0.0.1:1\naccept: c/d\n");
}

TEST_P(QngetRefused, UnsetKeepsTheSettings) {
  ExpectRefused(RunRefused({"config", "unset", "accept"}));
  EXPECT_EQ(List(), kOld);
}

TEST_P(QngetRefused, SetKeepsTheSettingsOfAnInterruptedSave) {
  const std::string file = root_ + "/settings.ini";
  fs::rename(file, file + ".bak");

  ExpectRefused(RunRefused({"config", "set", "accept", "c/d"}));
  EXPECT_EQ(List(), kOld);
}

}  // namespace
}  // namespace qntest
