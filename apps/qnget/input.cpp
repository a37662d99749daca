// SPDX-License-Identifier: MIT
// The library counts in 32 bits and copies the body behind the request's
// header, so a body is bounded well below that.
#include "input.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "failure.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr size_t kLargestBody = 2000000000;
constexpr size_t kReadAtOnce = 65536;
constexpr const char *kReading = "reading the request body";

class InputFile {
 public:
  explicit InputFile(const std::string &name)
      : name_(name == "-" ? "standard input" : name),
        descriptor_(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) Fail(strerror(errno));
  }

  ~InputFile() {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
  }

  InputFile(const InputFile &) = delete;
  InputFile &operator=(const InputFile &) = delete;

  // The size of a regular file, 0 of anything else.
  size_t ExpectedSize() const {
    struct stat found {};
    if (fstat(descriptor_, &found) != 0 || !S_ISREG(found.st_mode)) return 0;
    return static_cast<size_t>(found.st_size);
  }

  // Up to `room` bytes; 0 at the end.
  size_t Read(char *destination, size_t room) {
    for (;;) {
      const ssize_t count = ::read(descriptor_, destination, room);
      if (count >= 0) return static_cast<size_t>(count);
      if (errno != EINTR) Fail(strerror(errno));
      CheckDeadline(kReading);
    }
  }

  [[noreturn]] void Fail(const std::string &reason) const {
    throw Failure(kUsage, "could not read " + name_ + ": " + reason);
  }

 private:
  std::string name_;
  int descriptor_;
};

}  // namespace

std::string ReadRequestBody(const std::string &file) {
  InputFile input(file);
  const size_t expected = input.ExpectedSize();
  if (expected > kLargestBody) input.Fail("above 2 GB");
  std::string body;
  body.reserve(expected);
  std::vector<char> chunk(kReadAtOnce);
  while (const size_t count = input.Read(chunk.data(), chunk.size())) {
    if (body.size() + count > kLargestBody) input.Fail("above 2 GB");
    body.append(chunk.data(), count);
  }
  return body;
}

}  // namespace qnget
