// SPDX-License-Identifier: MIT
// Files are told apart by the system's numbers, asked for by statx(), which is
// none of the calls that are counted. What lies outside the folder is left out.
#include "posix/power_loss_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace qntest {

namespace {

std::string ContentOf(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Without a name it is the descriptor's file.
std::optional<SystemNumber> NumberOf(int folder, const char *name) {
  struct statx status = {};
  if (statx(folder, name, AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW, STATX_INO, &status) != 0) return {};
  return SystemNumber{makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
}

// The name's folder, and its last component.
std::pair<std::string, std::string> Split(std::string name) {
  while (!name.empty() && name.back() == '/') name.pop_back();
  const size_t base = name.rfind('/') + 1;  // 0 without a slash
  return {name.substr(0, base), name.substr(base)};
}

}  // namespace

Tree ReadTree(const std::string &root) {
  Tree tree;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string name = entry.path().lexically_relative(root).string();
    if (entry.is_directory()) {
      tree[name + "/"] = "";
    } else {
      tree[name] = ContentOf(entry.path());
    }
  }
  return tree;
}

std::string TextOf(const MediumChange &change) {
  const std::string node = std::to_string(change.node);
  switch (change.kind) {
    case MediumChange::Kind::kWrite:
      return "write " + std::to_string(change.bytes.size()) + " bytes at " +
             std::to_string(change.at) + " of " + node;
    case MediumChange::Kind::kTruncate:
      return "cut " + node + " at " + std::to_string(change.at);
    case MediumChange::Kind::kSync:
      return "sync " + node;
    case MediumChange::Kind::kEntries:
      break;
  }
  std::string text;
  if (change.gone) text += "take " + change.gone->second + " away ";
  if (change.named) text += "name " + node + " " + change.named->second;
  return text;
}

PowerLossLog::PowerLossLog(const std::string &root) {
  NewNode(AT_FDCWD, root.c_str());
  ReadFolder(kRootNode, root);
  entries_ = record_.entries;
}

void PowerLossLog::ReadFolder(Node folder, const std::string &path) {
  record_.folders.insert(folder);
  for (const auto &entry : std::filesystem::directory_iterator(path)) {
    const Node node = NewNode(AT_FDCWD, entry.path().c_str());
    record_.entries[{folder, entry.path().filename().string()}] = node;
    if (entry.is_directory()) {
      ReadFolder(node, entry.path().string());
    } else {
      record_.files[node] = ContentOf(entry.path());
    }
  }
}

void PowerLossLog::OnOpen(int folder, const char *name, int flags, int fd) {
  if ((flags & (O_CREAT | O_TRUNC)) == 0) return;
  if ((flags & O_TMPFILE) == O_TMPFILE) {
    NewNode(fd, "");
    return;
  }
  const std::optional<Entry> entry = FindEntry(folder, name);
  if (!entry) return;
  if (entries_.count(*entry) == 0) {
    MediumChange change;
    change.node = NewNode(fd, "");
    change.named = entry;
    Add(change);
  } else if ((flags & O_TRUNC) != 0) {
    OnTruncate(fd, 0);
  }
}

void PowerLossLog::OnWrite(int fd, const void *bytes, size_t count) {
  const auto end = static_cast<std::size_t>(lseek(fd, 0, SEEK_CUR));
  AddTo(fd, {.kind = MediumChange::Kind::kWrite,
             .at = end - count,
             .bytes = {static_cast<const char *>(bytes), count}});
}

void PowerLossLog::OnTruncate(int fd, off_t size) {
  AddTo(fd, {.kind = MediumChange::Kind::kTruncate, .at = static_cast<std::size_t>(size)});
}

void PowerLossLog::OnSync(int fd) { AddTo(fd, {.kind = MediumChange::Kind::kSync}); }

void PowerLossLog::AddTo(int fd, MediumChange change) {
  const std::optional<Node> node = Find(fd);
  if (!node) return;
  change.node = *node;
  Add(std::move(change));
}

void PowerLossLog::OnLink(int folder, const char *name) {
  MediumChange change;
  change.named = FindEntry(folder, name);
  if (!change.named) return;
  struct statx status = {};
  statx(folder, name, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status);
  const bool is_folder = S_ISDIR(status.stx_mode);
  change.node = is_folder ? NewNode(folder, name) : Find(folder, name).value();
  if (is_folder) record_.folders.insert(change.node);
  Add(change);
}

void PowerLossLog::OnUnlink(int folder, const char *name) {
  MediumChange change;
  change.gone = FindEntry(folder, name);
  if (!change.gone) return;
  change.node = entries_.at(*change.gone);
  Add(change);
}

void PowerLossLog::OnRename(int from_folder, const char *from, int to_folder, const char *to) {
  MediumChange change;
  change.gone = FindEntry(from_folder, from);
  change.named = FindEntry(to_folder, to);
  if (!change.gone || !change.named) return;
  change.node = entries_.at(*change.gone);
  Add(change);
}

void PowerLossLog::Add(MediumChange change) {
  if (change.gone) entries_.erase(*change.gone);
  if (change.named) entries_[*change.named] = change.node;
  record_.changes.push_back(std::move(change));
}

// A new file may have the system's number of one that has gone.
Node PowerLossLog::NewNode(int folder, const char *name) {
  nodes_[NumberOf(folder, name).value()] = next_;
  return next_++;
}

std::optional<Node> PowerLossLog::Find(int folder, const char *name) const {
  const std::optional<SystemNumber> number = NumberOf(folder, name);
  const auto found = number ? nodes_.find(*number) : nodes_.end();
  return found != nodes_.end() ? std::optional<Node>(found->second) : std::nullopt;
}

std::optional<Entry> PowerLossLog::FindEntry(int folder, const char *name) const {
  const auto [path, base] = Split(name);
  const std::optional<Node> node = Find(folder, path.c_str());
  if (!node || record_.folders.count(*node) == 0) return {};
  return Entry{*node, base};
}

}  // namespace qntest
