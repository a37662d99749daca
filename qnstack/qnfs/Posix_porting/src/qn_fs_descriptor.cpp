// Moving bytes through a descriptor whole: short counts and interrupted calls
// are carried on. Owns nothing.
#include "qn_fs_descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace {

// Calls `move` for what is left until all is done, nothing more comes, or it
// fails; gives the bytes done, or -1.
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

namespace qn {

bool Descriptor::Close() {
  const int fd = Release();
  // An interrupted close has closed all the same.
  return fd < 0 || close(fd) == 0 || errno == EINTR;
}

ssize_t ReadWhole(int fd, void *destination, std::size_t size) {
  auto *bytes = static_cast<char *>(destination);
  return MoveWhole(size, [=](std::size_t done) { return read(fd, bytes + done, size - done); });
}

bool WriteWhole(int fd, const void *bytes, std::size_t size) {
  const auto *from = static_cast<const char *>(bytes);
  return MoveWhole(size, [=](std::size_t done) { return write(fd, from + done, size - done); }) ==
         static_cast<ssize_t>(size);
}

ssize_t ReadWholeAt(int fd, void *destination, std::size_t size, off_t position) {
  auto *bytes = static_cast<char *>(destination);
  return MoveWhole(size, [=](std::size_t done) {
    return pread(fd, bytes + done, size - done, position + static_cast<off_t>(done));
  });
}

bool WriteWholeAt(int fd, const void *bytes, std::size_t size, off_t position) {
  const auto *from = static_cast<const char *>(bytes);
  return MoveWhole(size, [=](std::size_t done) {
           return pwrite(fd, from + done, size - done, position + static_cast<off_t>(done));
         }) == static_cast<ssize_t>(size);
}

}  // namespace qn
