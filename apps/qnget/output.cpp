// SPDX-License-Identifier: MIT
// Every wait here can be interrupted by the timer.
#include "output.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "failure.h"
#include "signals.h"
#include "text.h"

namespace qnget {
namespace {

constexpr mode_t kFileMode = 0666;  // less what the umask takes away
constexpr size_t kLongestText = 64U << 20U;
constexpr size_t kSeenByTerminal = 2000;
constexpr const char *kWriting = "writing the output";
constexpr const char *kOpeningTrace = "opening the trace file";

// Waits for the reader of a pipe, as long as the time allows; -1 with errno for a failure.
int OpenPatiently(const std::string &file, int flags, const char *doing) {
  for (;;) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | flags, kFileMode);
    if (descriptor >= 0 || errno != EINTR) return descriptor;
    CheckDeadline(doing);
  }
}

int OpenTrace(const std::string &trace) {
  if (trace == "-") return fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const std::string name = trace.empty() ? "/dev/null" : trace;
  const int descriptor = OpenPatiently(name, O_CREAT | O_TRUNC, kOpeningTrace);
  if (descriptor < 0) throw WriteFailure("open trace file", name);
  return descriptor;
}

bool IsRegularOrMissing(const std::string &file) {
  struct stat found {};
  return stat(file.c_str(), &found) != 0 || S_ISREG(found.st_mode);
}

}  // namespace

int KeepStandardOutput() {
  const int copy = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  int spare = open("/dev/null", O_RDWR);
  while (spare >= 0 && spare <= STDERR_FILENO) spare = open("/dev/null", O_RDWR);
  if (spare >= 0) close(spare);
  return copy;
}

void RedirectStandardOutput(const std::string &trace) {
  const int descriptor = OpenTrace(trace);
  dup2(descriptor, STDOUT_FILENO);
  close(descriptor);
  // Of a transfer that is cut off the last lines matter most.
  if (!trace.empty()) setvbuf(stdout, nullptr, _IONBF, 0);
}

Output::Output(const std::string &file, int standard_output) : name_(file) {
  if (file.empty() || file == "-" || file == "/dev/stdout") {
    name_ = "standard output";
    descriptor_ = standard_output;
    if (file.empty() && IsTerminal()) unseen_ = kSeenByTerminal;
  } else if (IsRegularOrMissing(file)) {
    file_.emplace(file);
  } else {
    descriptor_ = OpenPatiently(file, 0, kWriting);
    if (descriptor_ < 0) throw WriteFailure("open", name_);
  }
}

Output::~Output() {
  if (descriptor_ >= 0) close(descriptor_);
}

void Output::RequireOpen() const {
  errno = EBADF;
  if (Descriptor() < 0) throw WriteFailure("write", name_);
}

void Output::Write(std::string_view bytes) {
  if (charset_) {
    Collect(bytes);
  } else {
    RefuseBinary(bytes);
    WriteOut(bytes);
  }
}

void Output::Collect(std::string_view bytes) {
  if (bytes.size() > kLongestText - text_.size()) {
    throw Failure(kNotReceived, "the body is longer than the 64 MiB that --charset decodes");
  }
  text_ += bytes;
}

void Output::RefuseBinary(std::string_view bytes) {
  const std::string_view seen = bytes.substr(0, unseen_);
  unseen_ -= seen.size();
  if (seen.find('\0') == std::string_view::npos) return;
  throw Failure(kNotWritten,
                "the body is binary and would spoil the terminal; -o FILE keeps it, "
                "-o - shows it all the same");
}

void Output::WriteOut(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(Descriptor(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<size_t>(count));
    } else if (errno == EAGAIN) {
      WaitForRoom();
    } else if (errno != EINTR) {
      throw WriteFailure("write", name_);
    }
    CheckDeadline(kWriting);
  }
}

void Output::WaitForRoom() const {
  pollfd room{Descriptor(), POLLOUT, 0};
  poll(&room, 1, -1);
}

void Output::Commit() {
  if (charset_) WriteOut(TextFrom(*charset_, text_));
  if (file_) return file_->Commit();
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (descriptor >= 0 && close(descriptor) != 0) throw WriteFailure("write", name_);
}

bool Output::IsTerminal() const { return isatty(Descriptor()) == 1; }

}  // namespace qnget
