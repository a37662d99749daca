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
using Names = std::vector<std::string>;

// Enough of a body that the library hands some of it out, and a rest that waits.
ConnectionScript HalfABody() {
  return {ReadHeader(),  SendBytes("HTTP/1.0 200 OK\r\n\r\n" + std::string(30000, 'x')),
          AwaitSignal(), SendBytes("the rest"),
          HalfClose(),   ReadToEnd()};
}

struct stat StatusOf(const std::string &file) {
  struct stat found {};
  EXPECT_EQ(stat(file.c_str(), &found), 0);
  return found;
}

// The command without the privileges that open every file to root.
std::vector<std::string> Unprivileged(const std::vector<std::string> &command) {
  if (geteuid() != 0) return command;
  std::vector<std::string> all{"setpriv", "--inh-caps=-all", "--bounding-set=-all"};
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

bool HasUnnamedFiles(const std::string &folder) {
  const int descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (descriptor >= 0) close(descriptor);
  return descriptor >= 0;
}

class QngetFile : public testing::Test {
 protected:
  std::string url() const { return LocalUrl(server_.port()); }
  std::vector<std::string> ToFile() const { return {"-o", file_, url()}; }

  const ScratchFolder folder_;
  const std::string file_ = folder_.path("f");
  ScriptedServer server_{{AnswerWith(Answer("new"))}};
};

TEST_F(QngetFile, KeepsTheModeOfTheOneBefore) {
  folder_.write("f", "old");
  chmod(file_.c_str(), 0604);

  RunQnget(ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(StatusOf(file_).st_mode & 07777, 0604u);
}

TEST_F(QngetFile, KeepsTheOwnerOfTheOneBefore) {
  folder_.write("f", "old");
  if (chown(file_.c_str(), 1, 2) != 0) GTEST_SKIP() << "no file can be given away here";

  RunQnget(ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(StatusOf(file_).st_uid, 1u);
  EXPECT_EQ(StatusOf(file_).st_gid, 2u);
}

TEST_F(QngetFile, IsRefusedBeforeTheRequestWhereItMayNotBeWritten) {
  folder_.write("f", "old");
  chmod(file_.c_str(), 0444);

  const ProcessResult result = RunProgram(Unprivileged(QngetCommand(ToFile())));

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not write " + file_ + ": Permission denied"));
  EXPECT_EQ(folder_.read("f"), "old");
  EXPECT_EQ(server_.accepted(), 0u);
}

TEST_F(QngetFile, IsRefusedBeforeTheRequestWhereTheFolderMayNotBeWritten) {
  chmod(folder_.path().c_str(), 0500);

  const ProcessResult result = RunProgram(Unprivileged(QngetCommand(ToFile())));
  chmod(folder_.path().c_str(), 0700);

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not create " + file_ + ": Permission denied"));
  EXPECT_EQ(server_.accepted(), 0u);
}

TEST_F(QngetFile, ReplacesOneThatAppearsMeanwhile) {
  ScriptedServer server({HalfABody()});
  Process program(QngetCommand({"-i", "-o", file_, LocalUrl(server.port())}));
  ASSERT_TRUE(program.WaitForError("url: "));
  folder_.write("f", "meanwhile");

  server.Signal();

  EXPECT_EQ(program.wait().exit_code, 0);
  EXPECT_EQ(folder_.read("f"), std::string(30000, 'x') + "the rest");
  EXPECT_EQ(folder_.names(), Names{"f"});
}

TEST_F(QngetFile, GivesWayToAFolderThatAppearsMeanwhile) {
  ScriptedServer server({HalfABody()});
  Process program(QngetCommand({"-i", "-o", file_, LocalUrl(server.port())}));
  ASSERT_TRUE(program.WaitForError("url: "));
  fs::create_directory(file_);

  server.Signal();

  const ProcessResult result = program.wait();
  EXPECT_EQ(result.exit_code, 6);
  EXPECT_THAT(result.error, HasSubstr(Message("could not create " + file_ + ": Is a directory")));
  EXPECT_EQ(folder_.names(), Names{"f"});
}

class QngetKilled : public testing::Test {
 protected:
  // Kills the program when a part of the body has been written to the file.
  void KillWithHalfABody() {
    Process program(QngetCommand({"-o", folder_.path("f"), LocalUrl(server_.port())}),
                    {.error = Sink::kTerminal});
    ASSERT_TRUE(program.WaitForError(" kB"));
    program.SendSignal(SIGKILL);
    ASSERT_EQ(program.wait().signal, SIGKILL);
  }

  const ScratchFolder folder_;
  ScriptedServer server_{{HalfABody()}};
};

TEST_F(QngetKilled, LeavesNothingOfANewFile) {
  if (!HasUnnamedFiles(folder_.path())) GTEST_SKIP() << "no unnamed files on this medium";

  KillWithHalfABody();

  EXPECT_EQ(folder_.names(), Names{});
}

TEST_F(QngetKilled, LeavesAnOldFileAsItWas) {
  if (!HasUnnamedFiles(folder_.path())) GTEST_SKIP() << "no unnamed files on this medium";
  folder_.write("f", "old");

  KillWithHalfABody();

  EXPECT_EQ(folder_.names(), Names{"f"});
  EXPECT_EQ(folder_.read("f"), "old");
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

  void ExpectNotReplaced(const ProcessResult &result, const std::string &message) const {
    EXPECT_EQ(result.exit_code, 6);
    EXPECT_EQ(result.error, Message(message));
    EXPECT_EQ(folder_.names(), Names{"f"});
    EXPECT_EQ(folder_.read("f"), "old");
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
  EXPECT_EQ(folder_.names(), Names{"f"});
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(StatusOf(file_).st_mode & 07777, 0666 & ~mask);
}

// By /proc an unnamed file gets its name.
TEST_F(QngetTracedFile, HasAPassingNameWhereThereIsNoProc) {
  const ScratchFolder folder;

  RunTraced({"-o", folder.path("calls"), "-e", "trace=openat,?access,?faccessat", "-e",
             "inject=?access,?faccessat:error=ENOENT"},
            ToFile());

  EXPECT_THAT(folder.read("calls"), HasSubstr("/.qnget-"));
  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(folder_.names(), Names{"f"});
}

TEST_F(QngetTracedFile, KeepsTheModeUnderAPassingNameToo) {
  folder_.write("f", "old");
  chmod(file_.c_str(), 0604);

  RunTraced(NoUnnamedFilesIn(folder_.path()), ToFile());

  EXPECT_EQ(folder_.read("f"), "new");
  EXPECT_EQ(StatusOf(file_).st_mode & 07777, 0604u);
}

TEST_F(QngetTracedFile, LeavesTheOldOneWhenTheMediumFails) {
  folder_.write("f", "old");

  ExpectNotReplaced(RunInjected("fsync:error=EIO"),
                    "could not write " + file_ + ": Input/output error");
}

TEST_F(QngetTracedFile, LeavesTheOldOneWhenItCannotBeReplaced) {
  folder_.write("f", "old");

  ExpectNotReplaced(RunInjected("?rename,?renameat,?renameat2:error=EPERM"),
                    "could not create " + file_ + ": Operation not permitted");
}

TEST_F(QngetTracedFile, IsNoSuccessUntilTheFolderIsOnTheMedium) {
  const ProcessResult result = RunInjected("fsync:error=EIO:when=2");

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not write " + file_ + ": Input/output error"));
}

TEST_F(QngetTracedFile, NeedsNoWordOfFoldersThatCannotBeSynced) {
  EXPECT_EQ(RunInjected("fsync:error=EINVAL:when=2").exit_code, 0);
}

}  // namespace
}  // namespace qntest
