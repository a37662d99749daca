// SPDX-License-Identifier: MIT
// A small file system in memory for tests: named contents, directories, and
// stdio streams on them. Names are taken as they come; of a directory's name a
// '/' at the end does not count.
#ifndef QNSTACK_TESTS_SUPPORT_MEMORY_FILES_H
#define QNSTACK_TESTS_SUPPORT_MEMORY_FILES_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qntest {

class MemoryFiles {
 public:
  // From now on a file can only be made in a directory that is there; without
  // this its directory is made along with it.
  void RequireDirectories() { directories_required_ = true; }

  bool Exists(std::string_view name) const;
  std::optional<std::string> Content(std::string_view name) const;
  std::vector<std::string> Names() const;  // of all files, sorted

  // Each of these gives false with nothing changed where it cannot be done.
  bool Write(std::string_view name, std::string_view bytes);
  bool Append(std::string_view name, std::string_view bytes);
  bool WriteAt(std::string_view name, size_t position, std::string_view bytes);
  bool Copy(std::string_view destination, std::string_view source);
  bool Move(std::string_view destination, std::string_view source);
  bool Delete(std::string_view name);

  bool HasDirectory(std::string_view path) const;
  bool MakeDirectory(std::string_view path);    // and those above it
  bool DeleteFilesIn(std::string_view path);    // not those of directories below it
  bool RemoveDirectory(std::string_view path);  // an empty one

  // An unbuffered stream on a file, by a mode as for fopen; null where that
  // would fail. A deleted file lives on for the streams that are open on it.
  FILE *Open(std::string_view name, std::string_view mode);

  // Streams from Open() that have not been closed.
  int OpenStreams() const { return *open_streams_; }

 private:
  using Bytes = std::shared_ptr<std::string>;

  Bytes Find(std::string_view name) const;
  Bytes FindOrMake(std::string_view name);

  std::map<std::string, Bytes, std::less<>> files_;
  std::set<std::string, std::less<>> directories_;
  std::shared_ptr<int> open_streams_ = std::make_shared<int>(0);
  bool directories_required_ = false;
};

}  // namespace qntest

#endif
