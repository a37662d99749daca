// SPDX-License-Identifier: MIT
// Where qnget puts the body: standard output, or a file that is there whole or
// not at all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "qnget_program.h"
#include "support/loopback.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;

// Makes a FIFO; gives a reading end of it, so that writers need not wait for one.
Descriptor HeldFifo(const std::string &path) {
  mkfifo(path.c_str(), 0600);
  return Descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

ProcessResult RunInShell(const std::string &line, const Words &arguments) {
  return RunProgram(InShell(line, QngetCommand(arguments)));
}

class QngetOutput : public testing::Test {
 protected:
  std::string url() const { return LocalUrl(server_.port()); }

  const ScratchFolder folder_;
  const std::string file_ = folder_.path("f");
  const std::string body_ = ScatteredBytes(300000);
  ScriptedServer server_{std::vector<ConnectionScript>(4, AnswerWith(Answer(body_)))};
};

TEST_F(QngetOutput, IsStandardOutputByDefaultAndByItsNames) {
  for (const Words &options : {Words{}, {"-o", "-"}, {"-o", "/dev/stdout"}}) {
    const ProcessResult result = RunQnget(Joined(options, {url()}));

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_TRUE(result.output == body_) << testing::PrintToString(options);
  }
  EXPECT_TRUE(RunInShell("exec \"$@\" 3>&1", {"-o", "/dev/fd/3", url()}).output == body_);
}

TEST_F(QngetOutput, IsWrittenInPlaceWhenStandardOutputIsAFile) {
  folder_.write("f", "");
  fs::create_hard_link(file_, folder_.path("same"));

  RunQnget({"-o", "/dev/stdout", url()}, {.output = Sink::kFile, .output_file = file_});

  EXPECT_TRUE(folder_.read("same") == body_);
}

TEST_F(QngetOutput, MakesAndReplacesAFile) {
  for (const std::string before : {"", "longer"}) {
    if (!before.empty()) folder_.write("f", std::string(400000, 'o'));
    const ProcessResult result = RunQnget({"-o", file_, url()});

    EXPECT_THAT(result, Delivers(""));
    EXPECT_TRUE(folder_.read("f") == body_);
    EXPECT_EQ(folder_.names(), Words{"f"});
  }
}

// Of which a dash is no name for standard output.
TEST_F(QngetOutput, IsAFileOfTheGivenOrTheUrlsNameInTheWorkingFolder) {
  const std::pair<Words, const char *> names[] = {
      {{"--output", "f", url()}, "f"},
      {{"-O", LocalUrl(server_.port(), "/a/b%20c.mms?id=1")}, "b c.mms"},
      {{"--remote-name", LocalUrl(server_.port(), "/-")}, "-"}};
  for (const auto &[arguments, name] : names) {
    RunQnget(arguments, {.folder = folder_.path()});

    EXPECT_TRUE(folder_.read(name) == body_) << name;
  }
}

TEST_F(QngetOutput, GivesTheFileTheModeOfTheUmask) {
  RunInShell("umask 027; exec \"$@\"", {"-o", file_, url()});

  EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0640));
}

TEST_F(QngetOutput, ReplacesTheFileBehindALink) {
  folder_.write("target", "old");
  fs::create_symlink("target", file_);

  RunQnget({"-o", file_, url()});

  EXPECT_TRUE(fs::is_symlink(file_));
  EXPECT_TRUE(folder_.read("target") == body_);
}

TEST_F(QngetOutput, WritesStraightIntoAFifo) {
  const Descriptor fifo = HeldFifo(file_);

  EXPECT_EQ(RunOnAnswer(Answer("through"), {"-o", file_, kUrl}).exit_code, 0);

  char bytes[100];
  EXPECT_EQ(read(fifo.get(), bytes, sizeof bytes), 7);
  EXPECT_EQ(std::string(bytes, 7), "through");
  EXPECT_TRUE(fs::is_fifo(file_));
}

TEST_F(QngetOutput, IsWrittenToAFileWhenStandardOutputIsClosed) {
  const ProcessResult result = RunInShell("exec \"$@\" >&-", {"-o", file_, url()});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_TRUE(folder_.read("f") == body_);
}

TEST_F(QngetOutput, FailsWhenStandardOutputIsClosed) {
  EXPECT_THAT(RunInShell("exec \"$@\" >&-", {url()}),
              FailsWith(6, "could not write standard output: Bad file descriptor"));
  EXPECT_EQ(server_.accepted(), 0u);
}

TEST_F(QngetOutput, MayBeClosedWhereNothingIsWritten) {
  const std::string root = folder_.path("root");
  const std::string closed = "exec \"$@\" >&-";

  EXPECT_EQ(RunInShell(closed, {"-X", "HEAD", url()}).exit_code, 0);
  EXPECT_EQ(RunInShell(closed, {"--root", root, "config", "set", "accept", "a"}).exit_code, 0);
  EXPECT_EQ(RunQnget({"--root", root, "config", "get", "accept"}).output, "a\n");
  EXPECT_EQ(RunInShell(closed, {"--root", root, "config", "get", "accept"}).exit_code, 6);
  EXPECT_EQ(RunInShell(closed, {"--root", root, "--cache-clear"}).exit_code, 0);
  EXPECT_EQ(RunInShell(closed, {"--root", root, "--cache-list"}).exit_code, 6);
}

TEST_F(QngetOutput, FailsWhenStandardOutputIsFull) {
  EXPECT_THAT(RunQnget({url()}, {.output = Sink::kFile, .output_file = "/dev/full"}),
              FailsWith(6, "could not write standard output: No space left on device"));
}

TEST_F(QngetOutput, FailsWhenTheDeviceIsFull) {
  const std::string full = FullDevice(folder_);

  EXPECT_THAT(RunQnget({"-o", full, url()}),
              FailsWith(6, "could not write " + full + ": No space left on device"));
  EXPECT_TRUE(fs::is_character_file(full));
}

TEST_F(QngetOutput, FailsWhenTheReaderOfAPipeHasGone) {
  Descriptor fifo = HeldFifo(file_);
  Process program(QngetCommand({url()}), {.output = Sink::kFile, .output_file = file_});
  fifo.Close();

  EXPECT_THAT(program.wait(), FailsWith(6, "could not write standard output: Broken pipe"));
}

TEST_F(QngetOutput, FailsBeforeTheRequestForAFolderAndInNone) {
  EXPECT_THAT(RunQnget({"-o", "/no/such/folder/f", url()}),
              FailsWith(6, "could not create /no/such/folder/f: No such file or directory"));
  EXPECT_THAT(RunQnget({"-o", folder_.path(), url()}),
              FailsWith(6, "could not open " + folder_.path() + ": Is a directory"));
  EXPECT_EQ(server_.accepted(), 0u);
}

// A medium of 64 KB, mounted where only the program and the shell around it see it.
TEST_F(QngetOutput, LeavesNothingOnAFullMedium) {
  const std::string mount = "mount -t tmpfs -o size=64k none \"$0\" || exit 99; ";
  const std::string line =
      mount + "echo old > \"$0/f\"; \"$@\"; code=$?; ls -A \"$0\"; " + "cat \"$0/f\"; exit $code";
  const ProcessResult result =
      RunProgram(Joined({"unshare", "--map-root-user", "--mount", "sh", "-c", line, folder_.path()},
                        QngetCommand({"-o", file_, url()})));
  if (result.exit_code == 99 || result.error.find("unshare") != std::string::npos) {
    GTEST_SKIP() << "no small medium can be mounted here: " << result.error;
  }

  EXPECT_THAT(result, FailsWith(6, "could not write " + file_ + ": No space left on device"));
  EXPECT_EQ(result.output, "f\nold\n");
}

}  // namespace
}  // namespace qntest
