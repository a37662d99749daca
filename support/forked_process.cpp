// SPDX-License-Identifier: MIT
#include "support/forked_process.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>

namespace qntest {

bool HasEnded(pid_t process) {
  siginfo_t info{};
  waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT);
  return info.si_pid == process;
}

ForkedProcess::ForkedProcess(const std::function<int()> &part, unsigned seconds) {
  // Else both would write what is still in the buffers.
  std::fflush(nullptr);
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("the platform refuses another process");
  if (pid_ > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  alarm(seconds);  // the parent's is not inherited
  const int code = part();
  std::fflush(nullptr);
  _exit(code);
}

ForkedProcess::ForkedProcess(ForkedProcess &&other) noexcept : pid_(other.pid_) { other.pid_ = -1; }

ForkedProcess::~ForkedProcess() {
  if (pid_ < 0) return;
  Kill();
  Wait();
}

void ForkedProcess::Kill() const { kill(pid_, SIGKILL); }

int ForkedProcess::Wait() {
  int status = 0;
  while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace qntest
