// Names below the root directory. The kernel resolves them beneath the opened
// root; where it cannot, they are walked component by component and no link is
// followed at all. Owns nothing: the root is opened anew for each operation, so
// that one which has gone is noticed.
#include "qn_fs_beneath.h"

#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "qn_fs_file_port.h"

namespace {

constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int kMostRaces = 16;  // with renames elsewhere, which the kernel asks to try again
// Never wait for a FIFO, never take a terminal.
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
  if (root[0] == '\0') return {};
  return qn::Descriptor(open(root, O_PATH | O_DIRECTORY | O_CLOEXEC));
}

// Lets the kernel resolve the name beneath the root.
int OpenResolved(int root, const char *name, int flags) {
  open_how how = {};
  how.flags = static_cast<unsigned>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  long fd = -1;
  for (int races = 0; races < kMostRaces; ++races) {
    fd = syscall(SYS_openat2, root, name, &how, sizeof how);
    if (fd >= 0 || (errno != EAGAIN && errno != EINTR)) break;
  }
  return static_cast<int>(fd);
}

// Walks the name without following any link.
int OpenWalked(int root, std::string_view name, int flags) {
  if (name.ends_with('/')) flags |= O_DIRECTORY;
  qn::Descriptor folder(fcntl(root, F_DUPFD_CLOEXEC, 0));
  char component[QNFS_PATH_BYTES];
  while (folder.IsOpen()) {
    const std::size_t end = std::min(name.find('/'), name.size());
    std::memcpy(component, name.data(), end);
    component[end] = '\0';
    name.remove_prefix(std::min(end + 1, name.size()));
    if (end == 0 && !name.empty()) continue;
    const char *step = end == 0 ? "." : component;
    if (name.empty()) return openat(folder.Get(), step, flags | O_NOFOLLOW | O_CLOEXEC);
    folder =
        qn::Descriptor(openat(folder.Get(), step, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  }
  return -1;
}

qn::Descriptor OpenIn(const qn::Descriptor &root, const qn::BeneathName &name, int flags) {
  const char *text = name.Text()[0] == '\0' ? "." : name.Text();
  int fd = OpenResolved(root.Get(), text, flags);
  // A kernel without the call, or a sandbox that forbids it.
  if (fd < 0 && (errno == ENOSYS || errno == EPERM)) fd = OpenWalked(root.Get(), text, flags);
  return qn::Descriptor(fd);
}

bool IsRegularFile(const struct stat &status) { return S_ISREG(status.st_mode); }

}  // namespace

namespace qn {

BeneathName::BeneathName(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  if (name.size() >= sizeof text_ || HasParentComponent(name)) return;
  std::memcpy(text_, name.data(), name.size());
  usable_ = true;
}

Descriptor OpenBeneath(const char *name, int flags) {
  if (name == nullptr) return {};
  const BeneathName beneath(name);
  const Descriptor root = OpenRoot();
  if (!beneath.IsUsable() || !root.IsOpen()) return {};
  return OpenIn(root, beneath, flags);
}

Descriptor OpenRegular(const char *name, int flags) {
  Descriptor file = OpenBeneath(name, flags | kRegularFlags);
  struct stat status = {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !IsRegularFile(status)) return {};
  return file;
}

Descriptor OpenOrCreateRegular(const char *name, int flags) {
  Descriptor file = OpenRegular(name, flags);
  if (file.IsOpen()) return file;
  const Place place = FindPlace(name);
  if (!place.IsFound()) return {};
  return Descriptor(openat(place.folder.Get(), place.base,
                           flags | kRegularFlags | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                           kFileMode));
}

Place FindPlace(const char *name) {
  Place place;
  if (name == nullptr) return place;
  const std::string_view text(name);
  const std::size_t slash = text.rfind('/');
  const std::size_t folder_length = slash == std::string_view::npos ? 0 : slash + 1;
  const std::string_view base(text.data() + folder_length, text.size() - folder_length);
  const BeneathName folder(std::string_view(text.data(), folder_length));
  const bool is_file = !base.empty() && base != "." && BeneathName(text).IsUsable();
  const Descriptor root = OpenRoot();
  if (!is_file || !root.IsOpen()) return place;
  std::memcpy(place.base, base.data(), base.size());
  place.folder = OpenIn(root, folder, kFolderFlags);
  return place;
}

bool StatBeneath(const char *name, struct stat *status) {
  const Descriptor file = OpenBeneath(name, O_PATH);
  return file.IsOpen() && fstat(file.Get(), status) == 0;
}

bool IsRegular(const char *name) {
  struct stat status = {};
  return StatBeneath(name, &status) && IsRegularFile(status);
}

bool IsReplaceable(const char *name, const Place &place) {
  struct stat status = {};
  if (fstatat(place.folder.Get(), place.base, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  return IsRegularFile(status) || IsRegular(name);
}

bool MakeFolders(std::string_view path) {
  const BeneathName whole(path);
  const Descriptor root = OpenRoot();
  if (!whole.IsUsable() || !root.IsOpen()) return false;
  Descriptor folder = OpenIn(root, BeneathName(""), kFolderFlags);
  std::size_t end = 0;
  while (folder.IsOpen() && end < whole.View().size()) {
    const std::size_t start = end;
    end = std::min(whole.View().find('/', start), whole.View().size());
    const BeneathName component(std::string_view(whole.Text() + start, end - start));
    const BeneathName so_far(std::string_view(whole.Text(), end));
    if (component.Text()[0] != '\0' && mkdirat(folder.Get(), component.Text(), kFolderMode) != 0 &&
        errno != EEXIST) {
      return false;
    }
    folder = OpenIn(root, so_far, kFolderFlags);
    ++end;
  }
  return folder.IsOpen();
}

}  // namespace qn
