// SPDX-License-Identifier: MIT
// The walk, for the POSIX file port. A directory on the way is closed as soon as
// the next one is open.
#include "qn_fs_walk.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "qn_fs_resolve.h"
#include "qnstack/qn_fs_file.h"

namespace {

// One component of a name, as the system takes it.
struct Component {
  char text[QNFS_PATH_BYTES] = {};
};

// Takes the first component off the name, and the slashes behind it.
void TakeFirst(std::string_view *name, Component *first) {
  const std::size_t end = std::min(name->find('/'), name->size());
  std::memcpy(first->text, name->data(), end);
  first->text[end] = '\0';
  name->remove_prefix(end);
  name->remove_prefix(std::min(name->find_first_not_of('/'), name->size()));
}

// Opens the directory of the name's last component, and tells that component.
qn::Descriptor WalkToLast(qn::Descriptor directory, std::string_view name, Component *last) {
  TakeFirst(&name, last);
  while (directory.IsOpen() && !name.empty()) {
    directory = qn::Descriptor(openat(directory.Get(), last->text, qn::kSearchFlags | O_NOFOLLOW));
    TakeFirst(&name, last);
  }
  return directory;
}

}  // namespace

qn::Descriptor qn::OpenWalked(Descriptor directory, std::string_view name, int flags) {
  if (name.ends_with('/')) flags |= O_DIRECTORY;
  Component last;
  const Descriptor parent = WalkToLast(std::move(directory), name, &last);
  if (!parent.IsOpen()) return {};
  return Descriptor(openat(parent.Get(), last.text, flags | O_NOFOLLOW | O_CLOEXEC));
}

bool qn::StatWalked(Descriptor directory, std::string_view name, struct stat *status) {
  Component last;
  const Descriptor parent = WalkToLast(std::move(directory), name, &last);
  if (!parent.IsOpen()) return false;
  if (fstatat(parent.Get(), last.text, status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  errno = ENOTDIR;
  return !name.ends_with('/') || S_ISDIR(status->st_mode);
}
