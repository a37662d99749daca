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

constexpr mode_t kFileMode = 0600;
constexpr mode_t kDirectoryMode = 0700;
constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int kMostTries = 16;  // where the kernel says that a rename came between
// So that open() neither waits for a FIFO nor makes a terminal the process's own.
constexpr int kRegularFlags = O_NONBLOCK | O_NOCTTY;

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
  return qn::Descriptor(open(root, O_PATH | O_DIRECTORY | O_CLOEXEC));
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

// Gets the status of an open file; false, with the reason in errno, for any but a
// regular one.
bool IsRegularFile(const qn::Descriptor &file, struct stat *status) {
  if (fstat(file.Get(), status) != 0) return false;
  errno = ENOENT;
  return S_ISREG(status->st_mode);
}

}  // namespace

qn::BeneathName::BeneathName(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  if (name.size() >= sizeof text_ || HasParentComponent(name)) return;
  std::memcpy(text_, name.data(), name.size());
  usable_ = true;
}

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

qn::Descriptor qn::OpenOrCreateRegular(const char *name, int flags) {
  Descriptor file = OpenRegular(name, flags);
  if (file.IsOpen()) return file;
  const Place place = FindPlace(name);
  if (!place.IsFound()) return {};
  return Descriptor(openat(place.directory.Get(), place.base,
                           flags | kRegularFlags | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                           kFileMode));
}

qn::Place qn::FindPlace(const char *name) {
  Place place;
  if (name == nullptr) return place;
  const std::string_view text(name);
  const std::size_t slash = text.rfind('/');
  const std::size_t directory_length = slash == std::string_view::npos ? 0 : slash + 1;
  const std::string_view base(text.data() + directory_length, text.size() - directory_length);
  const BeneathName directory(std::string_view(text.data(), directory_length));
  const bool is_file = !base.empty() && base != "." && BeneathName(text).IsUsable();
  const Descriptor root = OpenRoot();
  if (!is_file || !root.IsOpen()) return place;
  std::memcpy(place.base, base.data(), base.size());
  place.directory = OpenIn(root, directory, kDirectoryFlags);
  return place;
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

bool qn::IsReplaceable(const char *name, Place *place) {
  struct stat status = {};
  if (fstatat(place->directory.Get(), place->base, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  if (S_ISREG(status.st_mode)) return true;
  if (!S_ISLNK(status.st_mode)) return false;
  *place = {};  // following the link takes as many descriptors as finding the place
  if (LookFor(name) != Presence::kThere) return false;
  *place = FindPlace(name);
  return place->IsFound();
}

bool qn::MakeDirectories(std::string_view path) {
  if (!BeneathName(path).IsUsable()) return false;
  for (std::size_t end = 0; end < path.size(); ++end) {
    end = std::min(path.find('/', end), path.size());
    const Place place = FindPlace(BeneathName({path.data(), end}).Text());
    if (place.IsFound()) mkdirat(place.directory.Get(), place.base, kDirectoryMode);
  }
  // What was there already is no failure; only the directory itself counts.
  return OpenBeneath(BeneathName(path).Text(), kDirectoryFlags).IsOpen();
}
