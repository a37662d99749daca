// SPDX-License-Identifier: MIT
// What a power cut may leave on the medium by what POSIX promises, and nothing
// more: what was not synced is there or not, each piece and each name for itself.
// A sync of a file secures its content and length, a sync of a folder the names
// in it. Bytes may be missing in pieces that end at multiples of 512; the file may
// have its new length with zeros there. A rename is one step: it leaves no name
// without the file. Across folders it may leave both.
#ifndef QNSTACK_TESTS_POSIX_POWER_LOSS_STATES_H
#define QNSTACK_TESTS_POSIX_POWER_LOSS_STATES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "posix/power_loss_log.h"

namespace qntest {

class PowerLossStates {
 public:
  // The medium as it was before the record's changes, all of it secured.
  explicit PowerLossStates(const MediumRecord &record);

  // Takes one change more, without forgetting what may be missing of those before.
  void Apply(const MediumChange &change);

  // What a cut may leave now: all of it, or where more than `most` combinations
  // are possible that many of them, chosen by a fixed seed.
  std::set<Tree> AfterACut(size_t most) const;

  // What is left without a cut.
  Tree Undisturbed() const;

 private:
  // For each thing that is not secured, which of its outcomes came to be. The last
  // is always that it is there.
  using Outcomes = std::vector<size_t>;
  using Entries = std::map<Entry, Node>;

  struct Piece {
    std::size_t at;
    std::string bytes;
  };
  struct File {
    std::string secured;
    std::vector<Piece> pieces;       // not secured, oldest first
    std::vector<std::size_t> sizes;  // that it may have, the present one last
  };

  Outcomes CountsOfOutcomes() const;
  std::set<Node> FilesWithNames() const;
  Tree TreeOf(const Outcomes &outcomes) const;
  Entries EntriesOf(const size_t *outcome) const;
  void AddFolder(Node folder, const std::string &path, const Entries &entries,
                 const std::map<Node, std::string> &contents, Tree *tree) const;

  static void Write(const MediumChange &change, File *file);
  static void Truncate(std::size_t size, File *file);
  static std::string ContentOf(const File &file, const size_t *outcome);
  void Sync(Node node);
  void SyncFolder(Node folder);

  std::map<Node, File> files_;
  Entries entries_;                    // secured
  std::vector<MediumChange> renamed_;  // of names, not secured, oldest first
  std::set<Node> folders_;
};

}  // namespace qntest

#endif
