// SPDX-License-Identifier: MIT
// A file that -o names: what it keeps of the one that it replaces, and that
// nothing but a whole answer ever has its name, however the program ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "qnget_program.h"
#include "qnget_traced.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::HasSubstr;

// The command without the privileges that open every file to root.
Words Unprivileged(const Words &command) {
  if (geteuid() != 0) return command;
  return Joined({"setpriv", "--inh-caps=-all", "--bounding-set=-all"}, command);
}

bool HasUnnamedFiles(const std::string &folder) {
  const int descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (descriptor >= 0) close(descriptor);
  return descriptor >= 0;
}

class QngetFile : public testing::Test {
 protected:
  Words ToFile() const { return {"-o", file_, LocalUrl(server_.port())}; }

  // Lets this happen while a body comes in; what becomes of the call.
  ProcessResult ResultWhere(const std::function<void()> &happens) const {
    ScriptedServer server({HalfABody()});
    Process program(QngetCommand({"-i", "-o", file_, LocalUrl(server.port())}));
    EXPECT_TRUE(program.WaitForError("url: "));
    happens();
    server.Signal();
    return program.wait();
  }

  const ScratchFolder folder_;
  const std::string file_ = folder_.path("f");
  ScriptedServer server_{{AnswerWith(Answer("new")), AnswerWith(Answer("new"))}};
};

TEST_F(QngetFile, KeepsTheModeOfTheOneBefore) {
  folder_.write("f", "old");
  chmod(file_.c_str(), 0604);

  RunQnget(ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0604));
}

TEST_F(QngetFile, KeepsTheOwnerOfTheOneBefore) {
  folder_.write("f", "old");
  if (chown(file_.c_str(), 1, 2) != 0) GTEST_SKIP() << "no file can be given away here";

  RunQnget(ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  struct stat found {};
  ASSERT_EQ(stat(file_.c_str(), &found), 0);
  EXPECT_EQ(found.st_uid, 1u);
  EXPECT_EQ(found.st_gid, 2u);
}

TEST_F(QngetFile, IsRefusedBeforeTheRequestWhereItMayNotBeWritten) {
  folder_.write("f", "old");
  chmod(file_.c_str(), 0444);

  EXPECT_THAT(RunProgram(Unprivileged(QngetCommand(ToFile()))),
              FailsWith(6, "could not write " + file_ + ": Permission denied"));
  EXPECT_EQ(folder_.read("f"), "old");
  EXPECT_EQ(server_.accepted(), 0u);
}

TEST_F(QngetFile, IsRefusedBeforeTheRequestWhereTheFolderMayNotBeWritten) {
  chmod(folder_.path().c_str(), 0500);

  const ProcessResult result = RunProgram(Unprivileged(QngetCommand(ToFile())));
  chmod(folder_.path().c_str(), 0700);

  EXPECT_THAT(result, FailsWith(6, "could not create " + file_ + ": Permission denied"));
  EXPECT_EQ(server_.accepted(), 0u);
}

TEST_F(QngetFile, ReplacesOneThatAppearsMeanwhile) {
  EXPECT_EQ(ResultWhere([this] { folder_.write("f", "meanwhile"); }).exit_code, 0);

  EXPECT_EQ(folder_.read("f"), kHalfABody + kRest);
  EXPECT_EQ(folder_.names(), Words{"f"});
}

TEST_F(QngetFile, GivesWayToAFolderThatAppearsMeanwhile) {
  const ProcessResult result = ResultWhere([this] { fs::create_directory(file_); });

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_THAT(result.error, HasSubstr(Message("could not create " + file_ + ": Is a directory")));
  EXPECT_EQ(folder_.names(), Words{"f"});
}

TEST_F(QngetFile, IsLeftAsItWasWhereTheProgramIsKilled) {
  if (!HasUnnamedFiles(folder_.path())) GTEST_SKIP() << "no unnamed files on this medium";
  for (const Words &names : {Words{}, Words{"f"}}) {
    if (!names.empty()) folder_.write("f", "old");
    ScriptedServer server({HalfABody()});
    Process program(QngetCommand({"-o", file_, LocalUrl(server.port())}),
                    {.error = Sink::kTerminal});
    ASSERT_TRUE(program.WaitForError(" kB"));

    program.SendSignal(SIGKILL);

    EXPECT_EQ(program.wait().signal, SIGKILL);
    EXPECT_EQ(folder_.names(), names);
    EXPECT_EQ(folder_.read("f"), names.empty() ? "" : "old");
  }
}

class QngetTracedFile : public QngetFile {
 protected:
  void SetUp() override {
    if (const std::string problem = ProblemOfTracing(); !problem.empty()) GTEST_SKIP() << problem;
  }

  // Lets a system call fail.
  ProcessResult RunInjected(const std::string &fault) const {
    return RunTraced({"-o", "/dev/null", "-e", "inject=" + fault}, ToFile());
  }
};

TEST_F(QngetTracedFile, IsOnTheMediumBeforeAndAfterItHasItsName) {
  if (!HasUnnamedFiles(folder_.path())) GTEST_SKIP() << "no unnamed files on this medium";
  const ScratchFolder folder;

  RunTraced({"-o", folder.path("calls"), "-e", "trace=fsync,linkat"}, ToFile());

  EXPECT_THAT(folder.read("calls"),
              ContainsRegex("fsync.* = 0\n.*linkat.* = 0\n.*fsync.* = 0\n.*exited with 0"));
}

TEST_F(QngetTracedFile, HasAPassingNameWhereTheMediumKnowsNoUnnamedOnes) {
  RunTraced(NoUnnamedFilesIn(folder_.path()), ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(folder_.names(), Words{"f"});
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0666 & ~mask));

  folder_.write("f", "old");
  chmod(file_.c_str(), 0604);
  RunTraced(NoUnnamedFilesIn(folder_.path()), ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0604));
}

// By /proc an unnamed file gets its name.
TEST_F(QngetTracedFile, HasAPassingNameWhereThereIsNoProc) {
  const ScratchFolder folder;

  RunTraced({"-o", folder.path("calls"), "-e", "trace=openat,?access,?faccessat", "-e",
             "inject=?access,?faccessat:error=ENOENT"},
            ToFile());

  EXPECT_THAT(folder.read("calls"), HasSubstr("/.qnget-"));
  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(folder_.names(), Words{"f"});
}

TEST_F(QngetTracedFile, LeavesTheOldOneWhenItCannotBeWrittenOrReplaced) {
  folder_.write("f", "old");

  EXPECT_THAT(RunInjected("fsync:error=EIO"),
              FailsWith(6, "could not write " + file_ + ": Input/output error"));
  EXPECT_EQ(folder_.read("f"), "old");
  EXPECT_THAT(RunInjected("?rename,?renameat,?renameat2:error=EPERM"),
              FailsWith(6, "could not create " + file_ + ": Operation not permitted"));
  EXPECT_EQ(folder_.read("f"), "old");
  EXPECT_EQ(folder_.names(), Words{"f"});
}

TEST_F(QngetTracedFile, IsNoSuccessUntilTheFolderIsOnTheMedium) {
  EXPECT_THAT(RunInjected("fsync:error=EIO:when=2"),
              FailsWith(6, "could not write " + file_ + ": Input/output error"));
}

TEST_F(QngetTracedFile, NeedsNoWordOfFoldersThatCannotBeSynced) {
  EXPECT_EQ(RunInjected("fsync:error=EINVAL:when=2").exit_code, 0);
}

}  // namespace
}  // namespace qntest
