// SPDX-License-Identifier: MIT
// Reading and writing whole blocks through a descriptor, for the POSIX file
// port. After a short count or an interruption the rest is read or written too.
#include "qn_fs_descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace {

// Calls `move` for what is left until all is done, nothing more comes, or it
// fails. Returns the number of bytes done, or -1.
template <typename Move>
ssize_t MoveWhole(std::size_t size, Move move) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t moved = move(done);
    if (moved < 0 && errno == EINTR) continue;
    if (moved < 0) return -1;
    if (moved == 0) break;
    done += static_cast<std::size_t>(moved);
  }
  return static_cast<ssize_t>(done);
}

}  // namespace

qn::Descriptor::~Descriptor() {
  const int error = errno;
  Close();
  errno = error;
}

bool qn::Descriptor::Close() {
  const int fd = Release();
  // A close that is interrupted has closed the descriptor all the same.
  return fd < 0 || close(fd) == 0 || errno == EINTR;
}

ssize_t qn::ReadWhole(int fd, void *destination, std::size_t size) {
  auto *bytes = static_cast<char *>(destination);
  return MoveWhole(size, [=](std::size_t done) { return read(fd, bytes + done, size - done); });
}

bool qn::WriteWhole(int fd, const void *bytes, std::size_t size) {
  const auto *from = static_cast<const char *>(bytes);
  return MoveWhole(size, [=](std::size_t done) { return write(fd, from + done, size - done); }) ==
         static_cast<ssize_t>(size);
}
