// SPDX-License-Identifier: MIT
// A root folder of qnget for tests: its settings, and its cache whose content they can
// write.
#ifndef QNSTACK_TESTS_INTEGRATION_QNGET_ROOT_FOLDER_H
#define QNSTACK_TESTS_INTEGRATION_QNGET_ROOT_FOLDER_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"

namespace qntest {

// A header line that makes an answer fresh for a week.
inline const std::string kFresh = "Cache-Control: max-age=604800\r\n";

inline const std::string kEmptyTable = "URL  SIZE  AGE  EXPIRES  STATE\n";

// What a test lets stand in the index.
struct Kept {
  int64_t age = 1000;           // seconds since it came
  int64_t seconds_left = 3600;  // of its lifetime
  int32_t file_no = 7;
  int32_t expires = 2000000000;  // the library's own, far from any clock's
  std::string label{};           // instead of that for a plain call of qnget
};

class RootFolder : public testing::Test {
 protected:
  // The arguments with that root.
  Words Rooted(const Words &arguments) const { return Joined({"--root", root_}, arguments); }

  ProcessResult Run(const Words &arguments) const { return RunQnget(Rooted(arguments)); }

  // Runs qnget config set.
  void Set(const std::string &key, const std::string &value, const Words &more = {}) const;

  // Writes the file of the settings.
  void WriteSettings(const std::string &content) const;

  const ScratchFolder folder_;
  std::string root_ = folder_.path("root");
};

// A line of a file of settings.
std::string SettingLine(const std::string &key, const std::string &value);

class CacheFolder : public RootFolder {
 protected:
  // Runs qnget --cache.
  ProcessResult Fetch(const Words &arguments) const { return Run(Joined({"--cache"}, arguments)); }

  // What qnget --cache -i says where the server sends this.
  std::string ToldOf(const std::vector<ConnectionScript> &scripts) const {
    return RunOn(scripts, Rooted({"--cache", "-i", kUrl})).error;
  }

  // What qnget --cache-list prints.
  std::string List() const { return Run({"--cache-list"}).output; }

  // Appends an entry to the index and writes its body, of type text/plain.
  void Save(const std::string &url, const std::string &body, const Kept &kept = {}) const;
};

}  // namespace qntest

#endif
