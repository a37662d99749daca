// SPDX-License-Identifier: MIT
// The fixture of tests that look at what reaches the file port.
#ifndef QNSTACK_TESTS_SUPPORT_FILE_PORT_TEST_H
#define QNSTACK_TESTS_SUPPORT_FILE_PORT_TEST_H

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "support/recording_file_port.h"

namespace qntest {

// Each test begins with no files, no calls and no failures.
// A file of a store, and its backup.
inline constexpr char kName[] = "/abc";
inline constexpr char kBackup[] = "/abc.bak";

class FilePortTest : public testing::Test {
 protected:
  FilePortTest() { FilePort().Reset(); }
  ~FilePortTest() override { FilePort().Reset(); }

  static MemoryFiles &Files() { return FilePort().files(); }
  static std::optional<std::string> Content(std::string_view name) { return Files().Content(name); }
};

}  // namespace qntest

#endif
