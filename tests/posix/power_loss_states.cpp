// SPDX-License-Identifier: MIT
// A state is a vector with one outcome for each thing that is not secured: first
// the changes of names, then, for each file that some name leads to, its pieces
// and its length.
#include "posix/power_loss_states.h"

#include <algorithm>
#include <array>
#include <limits>
#include <random>

namespace qntest {

namespace {

constexpr std::size_t kSector = 512;
constexpr unsigned kSeed = 2011;
constexpr size_t kWhole = 16;
constexpr std::array<size_t, 3> kShares = {1, 8, 15};  // of kWhole

bool IsAcrossFolders(const MediumChange &change) {
  return change.gone && change.named && change.gone->first != change.named->first;
}

size_t CountOfOutcomes(const MediumChange &change) { return IsAcrossFolders(change) ? 3 : 2; }

// Outcome 0 is nothing; of a rename across folders 1 is the new name alone.
void ApplyNames(const MediumChange &change, size_t outcome, std::map<Entry, Node> *entries) {
  if (outcome == 0) return;
  if (change.gone && (outcome == 2 || !IsAcrossFolders(change))) entries->erase(*change.gone);
  if (change.named) (*entries)[*change.named] = change.node;
}

// The product of all, or `most` + 1 where it is larger.
size_t CombinationsUpTo(size_t most, const std::vector<size_t> &counts) {
  size_t product = 1;
  for (const size_t count : counts) {
    product *= count;
    if (product > most) return most + 1;
  }
  return product;
}

// Goes on to the next combination; false after the last.
bool Step(const std::vector<size_t> &counts, std::vector<size_t> *outcomes) {
  for (size_t i = 0; i < counts.size(); ++i) {
    if (++(*outcomes)[i] < counts[i]) return true;
    (*outcomes)[i] = 0;
  }
  return false;
}

}  // namespace

PowerLossStates::PowerLossStates(const MediumRecord &record)
    : entries_(record.entries), folders_(record.folders) {
  for (const auto &[node, content] : record.files) files_[node] = {content, {}, {content.size()}};
}

void PowerLossStates::Apply(const MediumChange &change) {
  switch (change.kind) {
    case MediumChange::Kind::kWrite:
      return Write(change, &files_[change.node]);
    case MediumChange::Kind::kTruncate:
      return Truncate(change.at, &files_[change.node]);
    case MediumChange::Kind::kSync:
      return Sync(change.node);
    case MediumChange::Kind::kEntries:
      break;
  }
  if (folders_.count(change.node) == 0) files_.try_emplace(change.node, File{{}, {}, {0}});
  renamed_.push_back(change);
}

void PowerLossStates::Write(const MediumChange &change, File *file) {
  const std::size_t end = change.at + change.bytes.size();
  for (std::size_t at = change.at; at < end;) {
    const std::size_t next = std::min(end, (at / kSector + 1) * kSector);
    file->pieces.push_back({at, change.bytes.substr(at - change.at, next - at)});
    if (next > file->sizes.back()) file->sizes.push_back(next);
    at = next;
  }
}

// What is cut off is gone also where the file grows again.
void PowerLossStates::Truncate(std::size_t size, File *file) {
  const std::size_t before = file->sizes.back();
  if (size < before) file->pieces.push_back({size, std::string(before - size, '\0')});
  if (size != before) file->sizes.push_back(size);
}

std::string PowerLossStates::ContentOf(const File &file, const size_t *outcome) {
  std::string content = file.secured;
  content.resize(*std::max_element(file.sizes.begin(), file.sizes.end()));
  for (const Piece &piece : file.pieces) {
    if (*outcome++ != 0) content.replace(piece.at, piece.bytes.size(), piece.bytes);
  }
  content.resize(file.sizes[*outcome]);
  return content;
}

void PowerLossStates::Sync(Node node) {
  if (folders_.count(node) != 0) return SyncFolder(node);
  File &file = files_[node];
  Outcomes present(file.pieces.size(), 1);
  present.push_back(file.sizes.size() - 1);
  const std::string content = ContentOf(file, present.data());
  file = {content, {}, {content.size()}};
}

void PowerLossStates::SyncFolder(Node folder) {
  std::vector<MediumChange> left;
  for (MediumChange &change : renamed_) {
    const bool gone_here = change.gone && change.gone->first == folder;
    const bool named_here = change.named && change.named->first == folder;
    if (gone_here || (named_here && !IsAcrossFolders(change))) {
      ApplyNames(change, CountOfOutcomes(change) - 1, &entries_);
    } else if (named_here) {
      ApplyNames(change, 1, &entries_);
      change.named.reset();
      left.push_back(change);
    } else {
      left.push_back(change);
    }
  }
  renamed_ = std::move(left);
}

std::set<Node> PowerLossStates::FilesWithNames() const {
  std::set<Node> nodes;
  for (const auto &[entry, node] : entries_) nodes.insert(node);
  for (const MediumChange &change : renamed_) nodes.insert(change.node);
  for (const Node folder : folders_) nodes.erase(folder);
  return nodes;
}

PowerLossStates::Outcomes PowerLossStates::CountsOfOutcomes() const {
  Outcomes counts;
  for (const MediumChange &change : renamed_) counts.push_back(CountOfOutcomes(change));
  for (const Node node : FilesWithNames()) {
    const File &file = files_.at(node);
    counts.insert(counts.end(), file.pieces.size(), 2);
    counts.push_back(file.sizes.size());
  }
  return counts;
}

std::set<Tree> PowerLossStates::AfterACut(size_t most) const {
  const Outcomes counts = CountsOfOutcomes();
  std::set<Tree> trees;
  Outcomes outcomes(counts.size());
  if (CombinationsUpTo(most, counts) <= most) {
    do trees.insert(TreeOf(outcomes));
    while (Step(counts, &outcomes));
    return trees;
  }
  std::minstd_rand random(kSeed);
  for (size_t i = 0; i < most; ++i) {
    // Of what is not secured nothing is there, or all; then little, half or most.
    const size_t share = i < 2 ? i * kWhole : kShares[i % kShares.size()];
    for (size_t k = 0; k < counts.size(); ++k) {
      const size_t last = counts[k] - 1;
      const bool is_there = last == 0 || random() % kWhole < share;
      outcomes[k] = is_there ? last : i == 0 ? 0 : random() % last;
    }
    trees.insert(TreeOf(outcomes));
  }
  return trees;
}

Tree PowerLossStates::Undisturbed() const {
  Outcomes outcomes = CountsOfOutcomes();
  for (size_t &outcome : outcomes) --outcome;
  return TreeOf(outcomes);
}

Tree PowerLossStates::TreeOf(const Outcomes &outcomes) const {
  const size_t *outcome = outcomes.data();
  Entries entries = entries_;
  for (const MediumChange &change : renamed_) ApplyNames(change, *outcome++, &entries);
  std::map<Node, std::string> contents;
  for (const Node node : FilesWithNames()) {
    const File &file = files_.at(node);
    contents[node] = ContentOf(file, outcome);
    outcome += file.pieces.size() + 1;
  }
  Tree tree;
  AddFolder(kRootNode, "", entries, contents, &tree);
  return tree;
}

void PowerLossStates::AddFolder(Node folder, const std::string &path, const Entries &entries,
                                const std::map<Node, std::string> &contents, Tree *tree) const {
  for (const auto &[entry, node] : entries) {
    if (entry.first != folder) continue;
    const std::string name = path + entry.second;
    if (folders_.count(node) != 0) {
      (*tree)[name + "/"] = "";
      AddFolder(node, name + "/", entries, contents, tree);
    } else {
      (*tree)[name] = contents.at(node);
    }
  }
}

}  // namespace qntest
