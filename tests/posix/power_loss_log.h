// SPDX-License-Identifier: MIT
// Writes down what a part of a program does to the files below a folder, in an
// order and with the data that tell what a power cut may leave of it.
#ifndef QNSTACK_TESTS_POSIX_POWER_LOSS_LOG_H
#define QNSTACK_TESTS_POSIX_POWER_LOSS_LOG_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "posix/file_faults.h"

namespace qntest {

// The files below a folder, each with its content, by their names in it. A
// folder's name ends in a slash.
using Tree = std::map<std::string, std::string>;

Tree ReadTree(const std::string &root);

// A file or folder, whatever names it has.
using Node = int;
inline constexpr Node kRootNode = 0;

using Entry = std::pair<Node, std::string>;  // the folder, and the name in it

struct MediumChange {
  enum class Kind { kWrite, kTruncate, kSync, kEntries };
  Kind kind = Kind::kEntries;
  Node node = kRootNode;            // what is written, cut, synced or named
  std::size_t at = 0;               // where it is written, or how long it now is
  std::string bytes = {};           // that are written
  std::optional<Entry> gone = {};   // a name that was taken away
  std::optional<Entry> named = {};  // a name that now is the node's
};

// How the system tells files apart: device and inode. The number of one that has
// gone may be another's later.
using SystemNumber = std::pair<uint64_t, uint64_t>;

// For the messages of failed assertions.
std::string TextOf(const MediumChange &change);

// What was on the medium before, and what was done to it.
struct MediumRecord {
  std::map<Node, std::string> files;  // that were there, with their content
  std::map<Entry, Node> entries;      // that were there
  std::set<Node> folders;             // also those that were made
  std::vector<MediumChange> changes;
};

// While it hears of the calls, the record grows.
class PowerLossLog final : public FileListener {
 public:
  explicit PowerLossLog(const std::string &root);

  const MediumRecord &Record() const { return record_; }

  void OnOpen(int folder, const char *name, int flags, int fd) override;
  void OnWrite(int fd, const void *bytes, size_t count) override;
  void OnTruncate(int fd, off_t size) override;
  void OnSync(int fd) override;
  void OnLink(int folder, const char *name) override;
  void OnUnlink(int folder, const char *name) override;
  void OnRename(int from_folder, const char *from, int to_folder, const char *to) override;

 private:
  void ReadFolder(Node folder, const std::string &path);
  void Add(MediumChange change);
  void AddTo(int fd, MediumChange change);  // of the descriptor's file, if that is known
  Node NewNode(int folder, const char *name);
  std::optional<Node> Find(int folder, const char *name) const;
  std::optional<Node> Find(int fd) const { return Find(fd, ""); }
  std::optional<Entry> FindEntry(int folder, const char *name) const;

  MediumRecord record_;
  Node next_ = kRootNode;
  std::map<SystemNumber, Node> nodes_;
  std::map<Entry, Node> entries_;  // that are there now
};

}  // namespace qntest

#endif
