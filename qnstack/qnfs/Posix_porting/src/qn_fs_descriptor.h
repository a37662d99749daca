// SPDX-License-Identifier: MIT
// A file descriptor with one owner, and moving bytes through it whole.
#ifndef QNSTACK_QN_FS_DESCRIPTOR_H
#define QNSTACK_QN_FS_DESCRIPTOR_H

#include <sys/types.h>

#include <cstddef>
#include <utility>

namespace qn {

// Closes its descriptor at the end of its scope, and leaves errno as it was. One that
// is not open is -1, which every call of the system refuses.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  ~Descriptor();

  bool IsOpen() const { return fd_ >= 0; }
  int Get() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }

  // Closes now; false if the system reports that something went wrong.
  bool Close();

 private:
  int fd_ = -1;
};

// Reads up to `size` bytes, until the end of the file; -1 on failure.
ssize_t ReadWhole(int fd, void *destination, std::size_t size);

// Writes all bytes. After a failure, which gives false, some may have been written.
bool WriteWhole(int fd, const void *bytes, std::size_t size);

}  // namespace qn

#endif
