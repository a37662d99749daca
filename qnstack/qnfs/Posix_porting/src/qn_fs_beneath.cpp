// SPDX-License-Identifier: MIT
// Names below the root directory, for the POSIX file port. The kernel resolves
// them beneath the root. Where it cannot, they are walked component by component
// and no symbolic link is followed. The root is opened anew for each operation.
#include "qn_fs_beneath.h"

#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "qn_fs_file_port.h"

namespace {

constexpr mode_t kDirectoryMode = 0700;
constexpr int kReadable = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int kSearched = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int kMostTries = 16;  // where the kernel says that a rename came between

bool HasParentComponent(std::string_view name) {
  while (!name.empty()) {
    const std::size_t end = std::min(name.find('/'), name.size());
    if (std::string_view(name.data(), end) == "..") return true;
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return false;
}

qn::Descriptor OpenRoot() {
  const char *root = qn::RootDirectory();
  if (root[0] == '\0') {
    errno = ENOENT;
    return {};
  }
  return qn::Descriptor(open(root, kSearched));
}

// Lets the kernel resolve the name beneath the root.
int OpenResolved(int root, const char *name, int flags) {
  open_how how = {};
  how.flags = static_cast<unsigned>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  long fd = -1;
  for (int tries = 0; tries < kMostTries; ++tries) {
    fd = syscall(SYS_openat2, root, name, &how, sizeof how);
    if (fd >= 0 || (errno != EAGAIN && errno != EINTR)) break;
  }
  return static_cast<int>(fd);
}

// Walks the name without following any link.
int OpenWalked(int root, std::string_view name, int flags) {
  if (name.ends_with('/')) flags |= O_DIRECTORY;
  qn::Descriptor directory(fcntl(root, F_DUPFD_CLOEXEC, 0));
  char component[QNFS_PATH_BYTES];
  while (directory.IsOpen()) {
    const std::size_t end = std::min(name.find('/'), name.size());
    std::memcpy(component, name.data(), end);
    component[end] = '\0';
    name.remove_prefix(std::min(end + 1, name.size()));
    if (end == 0 && !name.empty()) continue;
    const char *step = end == 0 ? "." : component;
    if (name.empty()) return openat(directory.Get(), step, flags | O_NOFOLLOW | O_CLOEXEC);
    directory = qn::Descriptor(
        openat(directory.Get(), step, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  }
  return -1;
}

qn::Descriptor OpenIn(const qn::Descriptor &root, const qn::BeneathName &name, int flags) {
  const char *text = name.Text()[0] == '\0' ? "." : name.Text();
  int fd = OpenResolved(root.Get(), text, flags);
  // ENOSYS comes from a kernel without openat2(), EPERM from a sandbox that forbids it.
  if (fd < 0 && (errno == ENOSYS || errno == EPERM)) fd = OpenWalked(root.Get(), text, flags);
  return qn::Descriptor(fd);
}

qn::Descriptor OpenDirectory(const char *name, int flags) {
  const std::string_view text(name == nullptr ? "" : name);
  const std::string_view base(qn::BaseOf(text.data()));
  const bool is_file = !base.empty() && base != "." && qn::BeneathName(text).IsUsable();
  errno = ENOENT;
  const qn::Descriptor root = is_file ? OpenRoot() : qn::Descriptor();
  return root.IsOpen() ? OpenIn(root, qn::BeneathName(qn::DirectoryOf(text)), flags)
                       : qn::Descriptor();
}

}  // namespace

qn::BeneathName::BeneathName(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  if (name.size() >= sizeof text_ || HasParentComponent(name)) return;
  std::memcpy(text_, name.data(), name.size());
  usable_ = true;
}

std::string_view qn::DirectoryOf(std::string_view name) {
  return {name.data(), name.rfind('/') + 1};  // 0 without a slash
}

const char *qn::BaseOf(const char *name) { return name + DirectoryOf(name).size(); }

qn::Descriptor qn::OpenBeneath(const char *name, int flags) {
  if (name == nullptr || !BeneathName(name).IsUsable()) {
    errno = ENOENT;
    return {};
  }
  const Descriptor root = OpenRoot();
  return root.IsOpen() ? OpenIn(root, BeneathName(name), flags) : Descriptor();
}

qn::Descriptor qn::OpenRegular(const char *name, int flags) {
  Descriptor file = OpenBeneath(name, flags | kRegularFlags);
  struct stat status = {};
  return file.IsOpen() && IsRegularFile(file, &status) ? std::move(file) : Descriptor();
}

qn::Descriptor qn::OpenDirectoryOf(const char *name) { return OpenDirectory(name, kReadable); }

qn::Descriptor qn::OpenSearchedDirectoryOf(const char *name) {
  Descriptor directory = OpenDirectoryOf(name);
  if (!directory.IsOpen() && errno == EACCES) directory = OpenDirectory(name, kSearched);
  return directory;
}

bool qn::IsRegularFile(const Descriptor &file, struct stat *status) {
  if (fstat(file.Get(), status) != 0) return false;
  errno = ENOENT;
  return S_ISREG(status->st_mode);
}

bool qn::StatRegular(const char *name, struct stat *status) {
  const Descriptor file = OpenBeneath(name, O_PATH);
  return file.IsOpen() && IsRegularFile(file, status);
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
