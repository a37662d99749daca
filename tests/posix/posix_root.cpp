// SPDX-License-Identifier: MIT
// A child ends without the parent's cleaning up: the root is the parent's.
#include "posix/posix_root.h"

#include <sys/stat.h>

#include <filesystem>

#include "qnstack/qn_fs_file.h"

namespace qntest {

namespace {

int32_t Tell(const char *name, int32_t operation) {
  told_written.emplace_back(name, operation);
  return 0;
}

}  // namespace

std::vector<std::pair<std::string, int32_t>> told_written;

PosixRoot::PosixRoot() {
  fnQNFS_SetFullPath(folder_.path().c_str());
  fnQNFS_SetCardSynFileFunc(Tell);
  told_written.clear();
}

PosixRoot::~PosixRoot() {
  fnQNFS_SetCardSynFileFunc(nullptr);
  fnQNFS_SetFullPath("");
}

int PosixRoot::ModeOf(std::string_view name) const {
  struct stat status = {};
  if (lstat(folder_.path(name).c_str(), &status) != 0) return -1;
  return static_cast<int>(status.st_mode & 07777U);
}

void PosixRoot::MakeFolder(std::string_view name) const {
  std::filesystem::create_directories(folder_.path(name));
}

void PosixRoot::MakeLink(std::string_view name, const std::string &target) const {
  std::filesystem::create_symlink(target, folder_.path(name));
}

void PosixRoot::MakeFifo(std::string_view name) const {
  ASSERT_EQ(mkfifo(folder_.path(name).c_str(), 0600), 0);
}

int32_t WriteText(const char *name, std::string_view text) {
  return fnQNFS_WriteToFile(text.data(), static_cast<int32_t>(text.size()), name);
}

int32_t AppendText(const char *name, std::string_view text) {
  return fnQNFS_AppendToFile(text.data(), static_cast<int32_t>(text.size()), name);
}

std::string ReadText(const char *name, int32_t maximum) {
  std::string text(static_cast<size_t>(maximum), '?');
  int32_t count = -1;
  if (fnQNFS_ReadFromFile(name, maximum, text.data(), &count) != 0) return "(failure)";
  text.resize(static_cast<size_t>(count));
  return text;
}

void ExpectNotWritten(const char *name, const char *other) {
  EXPECT_EQ(WriteText(name, "new"), -1);
  EXPECT_EQ(AppendText(name, "new"), -1);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos("n", 1, 0, name), -1);
  EXPECT_EQ(fnQNFS_CopyFile(name, other), 0);
  EXPECT_EQ(fnQNFS_MoveFile(name, other), 0);
  for (const char *mode : {"r+", "w", "w+", "a", "a+"}) {
    EXPECT_EQ(fnQNFS_File_Open(name, mode), nullptr) << mode;
  }
}

ForkedProcess InChild(const std::function<void()> &part, unsigned seconds) {
  const auto judged = [&part] {
    part();
    return testing::Test::HasFailure() ? 1 : 0;
  };
  return ForkedProcess(judged, seconds);
}

int StatusOf(const std::function<void()> &part) { return InChild(part).Wait(); }

bool HoldsInChild(const std::function<void()> &part) { return StatusOf(part) == 0; }

}  // namespace qntest
