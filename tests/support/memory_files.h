// SPDX-License-Identifier: MIT
// A small file system in memory for tests: named contents and directories. Names are
// taken as they come; of a directory's name a '/' at the end does not count.
#ifndef QNSTACK_TESTS_SUPPORT_MEMORY_FILES_H
#define QNSTACK_TESTS_SUPPORT_MEMORY_FILES_H

#include <map>
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
  bool Copy(std::string_view destination, std::string_view source);
  bool Move(std::string_view destination, std::string_view source);
  bool Delete(std::string_view name);

  bool HasDirectory(std::string_view path) const;
  bool MakeDirectory(std::string_view path);  // and those above it
  bool DeleteFilesIn(std::string_view path);  // not those of directories below it

 private:
  std::string *FindOrMake(std::string_view name);  // null where that cannot be done

  std::map<std::string, std::string, std::less<>> files_;
  std::set<std::string, std::less<>> directories_;
  bool directories_required_ = false;
};

}  // namespace qntest

#endif
