// SPDX-License-Identifier: MIT
// A root folder of qnget for tests, with a cache whose content they can write.
#ifndef QNSTACK_TESTS_INTEGRATION_QNGET_CACHE_FOLDER_H
#define QNSTACK_TESTS_INTEGRATION_QNGET_CACHE_FOLDER_H

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

class CacheFolder : public testing::Test {
 protected:
  // Runs qnget --cache.
  ProcessResult Fetch(const std::vector<std::string> &arguments) const;

  // What qnget --cache-list prints.
  std::string List() const;

  // Appends an entry to the index and writes its body, of type text/plain.
  void Save(const std::string &url, const std::string &body, const Kept &kept = {}) const;

  const ScratchFolder folder_;
  std::string root_ = folder_.path("root");
};

}  // namespace qntest

#endif
