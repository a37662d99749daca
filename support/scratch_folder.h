// SPDX-License-Identifier: MIT
// A folder of its own for a test, gone with all its content at the end. It stands
// below $TMPDIR; where that is not set, in memory if there is a place for files.
#ifndef QNSTACK_SUPPORT_SCRATCH_FOLDER_H
#define QNSTACK_SUPPORT_SCRATCH_FOLDER_H

#include <string>
#include <string_view>
#include <vector>

namespace qntest {

class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();

  ScratchFolder(const ScratchFolder &) = delete;
  ScratchFolder &operator=(const ScratchFolder &) = delete;

  /** The folder's own path. */
  const std::string &path() const { return path_; }

  /** The path of `name` inside the folder. */
  std::string path(std::string_view name) const;

  /** Makes or replaces a file; returns its path. */
  std::string write(std::string_view name, std::string_view content) const;

  /** A file's content; empty if there is none. */
  std::string read(std::string_view name) const;

  /** The names in the folder, sorted. */
  std::vector<std::string> names() const;

 private:
  std::string path_;
};

}  // namespace qntest

#endif
