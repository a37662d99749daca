// SPDX-License-Identifier: MIT
// What the tests of the POSIX file port share: a folder as the root, whole
// files in short calls, and parts of a test in a process of their own.
#ifndef QNSTACK_TESTS_POSIX_POSIX_ROOT_H
#define QNSTACK_TESTS_POSIX_POSIX_ROOT_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/forked_process.h"
#include "support/process_figures.h"
#include "support/scratch_folder.h"
#include "support/watchdog.h"

namespace qntest {

// The calls of the synchronisation callback that PosixRoot installs.
extern std::vector<std::pair<std::string, int32_t>> told_written;

// A folder of the test's own is the root; the callback writes its calls down.
class PosixRoot : public testing::Test {
 protected:
  PosixRoot();
  ~PosixRoot() override;

  // The permission bits of a name, links not followed; -1 if it is not there.
  int ModeOf(std::string_view name) const;
  bool Exists(std::string_view name) const { return ModeOf(name) >= 0; }
  void MakeFolder(std::string_view name) const;
  void MakeLink(std::string_view name, const std::string &target) const;
  void MakeFifo(std::string_view name) const;

  ScratchFolder folder_;
  Watchdog watchdog_;
};

// fnQNFS_WriteToFile() and fnQNFS_AppendToFile() of a text.
int32_t WriteText(const char *name, std::string_view text);
int32_t AppendText(const char *name, std::string_view text);

// A file's content by fnQNFS_ReadFromFile(), or "(failure)".
std::string ReadText(const char *name, int32_t maximum = 1 << 20);

// No operation writes a file by that name, whatever it is; nothing is copied or moved
// there from `other`.
void ExpectNotWritten(const char *name, const char *other);

// Starts `part` in a child process, which ends with 1 if an expectation failed in it.
// What failed is printed there.
ForkedProcess InChild(const std::function<void()> &part, unsigned seconds = 30);

// Runs `part` so; the child's exit code, or the number of a signal, negated.
int StatusOf(const std::function<void()> &part);

// Runs `part` so; whether it ran to its end with no expectation failed in it.
bool HoldsInChild(const std::function<void()> &part);

}  // namespace qntest

#endif
