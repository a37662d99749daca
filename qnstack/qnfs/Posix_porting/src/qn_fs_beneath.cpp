// SPDX-License-Identifier: MIT
// Names below the root directory, for the POSIX file port. The root is opened anew
// for each operation.
#include "qn_fs_beneath.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include "qn_fs_file_port.h"
#include "qn_fs_resolve.h"

namespace {

constexpr mode_t kDirectoryMode = 0700;
constexpr int kReadable = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

bool HasParentComponent(std::string_view name) {
  while (!name.empty()) {
    const std::size_t end = std::min(name.find('/'), name.size());
    if (std::string_view(name.data(), end) == "..") return true;
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return false;
}

qn::Descriptor OpenRoot() { return qn::Descriptor(open(qn::RootDirectory(), qn::kSearchFlags)); }

// Opens the root for a name below it.
qn::Descriptor OpenRootFor(const char *name) {
  errno = ENOENT;
  return name != nullptr && qn::BeneathName(name).IsUsable() ? OpenRoot() : qn::Descriptor();
}

// The root's own name is empty.
const char *TextBelowRoot(const qn::BeneathName &name) {
  return name.Text()[0] == '\0' ? "." : name.Text();
}

qn::Descriptor OpenIn(qn::Descriptor root, const qn::BeneathName &name, int flags) {
  return qn::OpenBelow(std::move(root), TextBelowRoot(name), flags);
}

qn::Descriptor OpenDirectory(const char *name, int flags) {
  const std::string_view text(name == nullptr ? "" : name);
  const std::string_view base(qn::BaseOf(text.data()));
  errno = ENOENT;
  qn::Descriptor root = base.empty() ? qn::Descriptor() : OpenRootFor(name);
  if (!root.IsOpen()) return {};
  return OpenIn(std::move(root), qn::BeneathName(qn::DirectoryOf(text)), flags);
}

// False, with the reason in errno, for anything but a regular file.
bool IsRegular(const struct stat &status) {
  errno = ENOENT;
  return S_ISREG(status.st_mode);
}

}  // namespace

qn::BeneathName::BeneathName(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  if (name.size() >= sizeof text_ || HasParentComponent(name)) return;
  std::copy(name.begin(), name.end(), text_);
  usable_ = true;
}

std::string_view qn::DirectoryOf(std::string_view name) {
  return {name.data(), name.rfind('/') + 1};  // 0 without a slash
}

const char *qn::BaseOf(const char *name) { return name + DirectoryOf(name).size(); }

qn::Descriptor qn::OpenBeneath(const char *name, int flags) {
  Descriptor root = OpenRootFor(name);
  return root.IsOpen() ? OpenIn(std::move(root), BeneathName(name), flags) : Descriptor();
}

qn::Descriptor qn::OpenRegular(const char *name, int flags) {
  Descriptor file = OpenBeneath(name, flags | kRegularFlags);
  struct stat status = {};
  return file.IsOpen() && IsRegularFile(file, &status) ? std::move(file) : Descriptor();
}

qn::Descriptor qn::OpenDirectoryOf(const char *name) { return OpenDirectory(name, kReadable); }

qn::Descriptor qn::OpenSearchedDirectoryOf(const char *name) {
  Descriptor directory = OpenDirectoryOf(name);
  if (!directory.IsOpen() && errno == EACCES) directory = OpenDirectory(name, kSearchFlags);
  return directory;
}

bool qn::IsRegularFile(const Descriptor &file, struct stat *status) {
  return fstat(file.Get(), status) == 0 && IsRegular(*status);
}

bool qn::StatRegular(const char *name, struct stat *status) {
  Descriptor root = OpenRootFor(name);
  if (!root.IsOpen()) return false;
  return StatBelow(std::move(root), TextBelowRoot(BeneathName(name)), status) && IsRegular(*status);
}

bool qn::MeansAbsent(int error) {
  // Of links, the ones that lead out of the root or in a circle.
  constexpr int kErrors[] = {ENOENT, ENOTDIR, ENAMETOOLONG, ELOOP, EXDEV};
  return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors);
}

qn::Presence qn::LookFor(const char *name) {
  struct stat status = {};
  if (StatRegular(name, &status)) return Presence::kThere;
  return MeansAbsent(errno) ? Presence::kAbsent : Presence::kUnknown;
}

void qn::SyncDirectory(int directory) { fsync(directory); }

bool qn::MakeDirectories(std::string_view path) {
  if (!BeneathName(path).IsUsable()) return false;
  for (std::size_t end = 0; end < path.size(); ++end) {
    end = std::min(path.find('/', end), path.size());
    const BeneathName name({path.data(), end});
    const Descriptor directory = OpenDirectoryOf(name.Text());
    if (!directory.IsOpen()) continue;
    const bool made = mkdirat(directory.Get(), BaseOf(name.Text()), kDirectoryMode) == 0;
    if (made) SyncDirectory(directory.Get());
  }
  // What was there already is no failure; only the directory itself counts.
  return OpenBeneath(BeneathName(path).Text(), kReadable).IsOpen();
}
