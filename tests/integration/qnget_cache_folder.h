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

// A header line that makes an answer fresh, whatever the clock does meanwhile:
// the seconds of a date are far ahead of those of the clock.
inline const std::string kFresh = "Expires: Sun, 06 Nov 1994 08:49:37 GMT\r\n";

inline const std::string kEmptyTable = "URL  SIZE  STORED  EXPIRES  STATE\n";

// Times far from any clock's.
inline constexpr int32_t kFarOff = 2000000000;
inline constexpr int32_t kLongAgo = -2000000000;

class CacheFolder : public testing::Test {
 protected:
  // Runs qnget --cache.
  ProcessResult Fetch(const std::vector<std::string> &arguments) const;

  // What qnget --cache-list prints.
  std::string List() const;

  // Appends an entry to the index and writes its body, of type text/plain.
  void Save(const std::string &url, const std::string &body, int32_t expires,
            int32_t file_no = 7) const;

  const ScratchFolder folder_;
  std::string root_ = folder_.path("root");
};

}  // namespace qntest

#endif
