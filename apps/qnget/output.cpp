// A file is written under another name in the same folder and renamed at the
// end. Every wait here can be interrupted by the timer.
#include "output.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "failure.h"
#include "signals.h"
#include "text.h"

namespace qnget {
namespace {

constexpr mode_t kFileMode = 0666;  // less what the umask takes away
constexpr const char *kWriting = "writing the output";

mode_t CurrentUmask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}

// The file behind a symbolic link, which is to stay a link.
std::string Resolved(const std::string &file) {
  std::error_code none;
  const std::filesystem::path real = std::filesystem::canonical(file, none);
  return none ? file : real.string();
}

std::string TemplateBeside(const std::string &file) {
  return (std::filesystem::path(file).parent_path() / ".qnget-XXXXXX").string();
}

int OpenTrace(const std::string &trace) {
  const char *name = trace.empty() ? "/dev/null" : trace.c_str();
  const int descriptor = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
  if (descriptor < 0) {
    throw Failure(kNotWritten,
                  std::string("could not open trace file ") + name + ": " + strerror(errno));
  }
  return descriptor;
}

}  // namespace

int KeepStandardOutput() {
  const int copy = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  int spare = open("/dev/null", O_RDWR);
  while (spare >= 0 && spare <= STDERR_FILENO) spare = open("/dev/null", O_RDWR);
  close(spare);
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
  struct stat found {};
  if (file.empty() || file == "-" || file == "/dev/stdout") {
    name_ = "standard output";
    descriptor_ = standard_output;
    errno = EBADF;
    if (descriptor_ < 0) Fail("write");
  } else if (stat(file.c_str(), &found) == 0 && !S_ISREG(found.st_mode)) {
    OpenDirectly(file);
  } else {
    OpenBeside(Resolved(file));
  }
}

Output::~Output() {
  if (descriptor_ >= 0) close(descriptor_);
  if (temporary_.empty()) return;
  const SignalPause pause;
  unlink(temporary_.c_str());
  SetTemporaryFile("");
}

void Output::OpenDirectly(const std::string &file) {
  while ((descriptor_ = open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY)) < 0) {
    if (errno != EINTR) Fail("open");
    CheckDeadline(kWriting);
  }
}

void Output::OpenBeside(const std::string &file) {
  target_ = file;
  std::string path = TemplateBeside(file);
  const SignalPause pause;
  descriptor_ = mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_ < 0) Fail("create");
  temporary_ = path;
  SetTemporaryFile(path);
}

void Output::Write(std::string_view bytes) {
  if (charset_) {
    text_ += bytes;
  } else {
    WriteOut(bytes);
  }
}

void Output::WriteOut(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<size_t>(count));
    } else if (errno == EAGAIN) {
      WaitForRoom();
    } else if (errno != EINTR) {
      Fail("write");
    }
    CheckDeadline(kWriting);
  }
}

void Output::WaitForRoom() const {
  pollfd room{descriptor_, POLLOUT, 0};
  poll(&room, 1, -1);
}

void Output::Commit() {
  if (charset_) WriteOut(TextFrom(*charset_, text_));
  if (!temporary_.empty()) {
    fchmod(descriptor_, kFileMode & ~CurrentUmask());  // some media have no modes to change
    if (fsync(descriptor_) != 0) Fail("write");
  }
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (close(descriptor) != 0) Fail("write");
  if (temporary_.empty()) return;
  const SignalPause pause;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) Fail("create");
  temporary_.clear();
  SetTemporaryFile("");
}

bool Output::IsTerminal() const { return isatty(descriptor_) == 1; }

void Output::Fail(const std::string &what) const {
  const std::string reason = strerror(errno);
  throw Failure(kNotWritten, "could not " + what + " " + name_ + ": " + reason);
}

}  // namespace qnget
