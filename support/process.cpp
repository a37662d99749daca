// SPDX-License-Identifier: MIT
// The child's ends of all descriptors are made before the fork, so that
// between fork and exec only calls stand that are safe with other threads
// around. The parent's ends do not block; one poll loop serves them all.
#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace qntest {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const char *what) {
  throw std::runtime_error(std::string(what) + ": " + strerror(errno));
}

void CloseDescriptor(int &descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

void Unblock(int descriptor) { fcntl(descriptor, F_SETFL, O_NONBLOCK); }

// A pipe as {read end, write end}; neither leaks into other children.
std::pair<int, int> MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail("pipe");
  return {ends[0], ends[1]};
}

// A pseudo terminal as {our end, the child's end}; raw, so that text passes unchanged.
std::pair<int, int> MakeTerminal() {
  const int ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  std::array<char, 64> name{};
  if (ours < 0 || grantpt(ours) != 0 || unlockpt(ours) != 0 ||
      ptsname_r(ours, name.data(), name.size()) != 0) {
    Fail("pseudo terminal");
  }
  const int theirs = open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (theirs < 0) Fail(name.data());
  termios mode{};
  tcgetattr(theirs, &mode);
  cfmakeraw(&mode);
  tcsetattr(theirs, TCSANOW, &mode);
  const winsize size{24, 80, 0, 0};
  ioctl(theirs, TIOCSWINSZ, &size);
  return {ours, theirs};
}

// Appends what is there to `text`; closes the descriptor at its end.
void Drain(int &descriptor, std::string &text) {
  std::array<char, 65536> chunk;
  while (descriptor >= 0) {
    const ssize_t count = read(descriptor, chunk.data(), chunk.size());
    if (count > 0) {
      text.append(chunk.data(), static_cast<size_t>(count));
    } else if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
      return;
    } else {  // a terminal whose last user has gone gives an error for its end
      CloseDescriptor(descriptor);
    }
  }
}

int MillisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::clamp<long long>(left.count(), 0, 600000));
}

std::vector<char *> Pointers(const std::vector<std::string> &texts) {
  std::vector<char *> list;
  list.reserve(texts.size() + 1);
  for (const std::string &text : texts) list.push_back(const_cast<char *>(text.c_str()));
  list.push_back(nullptr);
  return list;
}

std::vector<std::string> JoinedEnvironment(const std::vector<std::string> &added) {
  std::vector<std::string> all(added);
  for (char **entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    const std::string_view name = text.substr(0, text.find('=') + 1);
    const bool replaced = std::any_of(added.begin(), added.end(), [&](const std::string &other) {
      return std::string_view(other).substr(0, name.size()) == name;
    });
    if (!replaced) all.emplace_back(text);
  }
  return all;
}

[[noreturn]] void FailInChild(const char *what) {
  const char *reason = strerrordesc_np(errno);
  dprintf(STDERR_FILENO, "cannot start %s: %s\n", what, reason);
  _exit(127);
}

void ResetSignals() {
  struct sigaction standard {};
  standard.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number) sigaction(number, &standard, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

Process::Process(const std::vector<std::string> &command, const ProcessOptions &options)
    : options_(options), unwritten_(options_.input) {
  OpenInput();
  OpenOutputs();
  Spawn(command);
  CloseDescriptor(child_error_);
  CloseDescriptor(child_output_);
  if (unwritten_.empty() && !options_.keep_input_open) CloseDescriptor(input_write_);
}

Process::~Process() {
  if (!ended_) {
    KillGroup();
    Reap();
  }
  for (int *descriptor : {&end_notice_, &input_read_, &input_write_, &output_, &error_}) {
    CloseDescriptor(*descriptor);
  }
}

void Process::OpenInput() {
  std::tie(input_read_, input_write_) = MakePipe();
  Unblock(input_write_);
}

void Process::OpenOutputs() {
  if (options_.output == Sink::kFile) {
    child_output_ = open(options_.output_file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (child_output_ < 0) Fail(options_.output_file.c_str());
  } else {
    const bool terminal = options_.output == Sink::kTerminal;
    std::tie(output_, child_output_) = terminal ? MakeTerminal() : MakePipe();
    Unblock(output_);
  }
  if (options_.error == Sink::kTerminal && options_.output == Sink::kTerminal) {
    child_error_ = fcntl(child_output_, F_DUPFD_CLOEXEC, 3);
    return;
  }
  std::tie(error_, child_error_) = options_.error == Sink::kTerminal ? MakeTerminal() : MakePipe();
  Unblock(error_);
}

void Process::Spawn(const std::vector<std::string> &command) {
  const std::vector<char *> arguments = Pointers(command);
  const std::vector<std::string> environment = JoinedEnvironment(options_.environment);
  const std::vector<char *> variables = Pointers(environment);
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) Fail("fork");
  if (pid_ > 0) {
    setpgid(pid_, pid_);
    end_notice_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    if (end_notice_ < 0) Fail("pidfd_open");
    return;
  }
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(127);
  ResetSignals();
  dup2(input_read_, STDIN_FILENO);
  dup2(child_output_, STDOUT_FILENO);
  dup2(child_error_, STDERR_FILENO);
  if (!options_.folder.empty() && chdir(options_.folder.c_str()) != 0) {
    FailInChild(options_.folder.c_str());
  }
  execvpe(arguments[0], arguments.data(), variables.data());
  FailInChild(arguments[0]);
}

bool Process::WaitForOutput(std::string_view text, std::chrono::milliseconds patience) {
  return WaitForText(result_.output, text, Clock::now() + patience);
}

bool Process::WaitForError(std::string_view text, std::chrono::milliseconds patience) {
  return WaitForText(result_.error, text, Clock::now() + patience);
}

bool Process::WaitForText(const std::string &captured, std::string_view text, Deadline deadline) {
  while (captured.find(text) == std::string::npos) {
    if (!Pump(deadline)) return captured.find(text) != std::string::npos;
  }
  return true;
}

void Process::CloseInput() {
  options_.keep_input_open = false;
  if (unwritten_.empty()) CloseDescriptor(input_write_);
}

void Process::SendSignal(int signal) const {
  if (!ended_) kill(pid_, signal);
}

ProcessResult Process::wait(std::chrono::milliseconds patience) {
  const Deadline deadline = Clock::now() + patience;
  while (Pump(deadline)) {
  }
  if (!ended_) {
    result_.timed_out = true;
    KillGroup();
    Reap();
  }
  return result_;
}

// Waits for something to happen and takes it in; false when the child has ended or the
// deadline has passed.
bool Process::Pump(Deadline deadline) {
  if (ended_) return false;
  std::array<pollfd, 4> waits{{{end_notice_, POLLIN, 0},
                               {output_, POLLIN, 0},
                               {error_, POLLIN, 0},
                               {unwritten_.empty() ? -1 : input_write_, POLLOUT, 0}}};
  const int ready = poll(waits.data(), waits.size(), MillisecondsUntil(deadline));
  if (ready < 0 && errno == EINTR) return true;
  if (ready <= 0) return false;
  if (waits[3].revents != 0) Feed();
  Drain(output_, result_.output);
  Drain(error_, result_.error);
  if (waits[0].revents != 0) Reap();
  return !ended_;
}

void Process::Feed() {
  const ssize_t count = write(input_write_, unwritten_.data(), unwritten_.size());
  if (count > 0) unwritten_.remove_prefix(static_cast<size_t>(count));
  if (unwritten_.empty() && !options_.keep_input_open) CloseDescriptor(input_write_);
}

void Process::Reap() {
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  ended_ = true;
  if (WIFEXITED(status)) result_.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result_.signal = WTERMSIG(status);
  Drain(output_, result_.output);
  Drain(error_, result_.error);
}

void Process::KillGroup() const {
  kill(-pid_, SIGKILL);
  kill(pid_, SIGKILL);
}

ProcessResult RunProgram(const std::vector<std::string> &command, const ProcessOptions &options,
                         std::chrono::milliseconds patience) {
  return Process(command, options).wait(patience);
}

}  // namespace qntest
