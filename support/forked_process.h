// SPDX-License-Identifier: MIT
// A part of this program in a process of its own, beside the one that goes on.
#ifndef QNSTACK_SUPPORT_FORKED_PROCESS_H
#define QNSTACK_SUPPORT_FORKED_PROCESS_H

#include <sys/types.h>

#include <functional>

namespace qntest {

/** Whether a child has ended; it can be waited for afterwards. */
bool HasEnded(pid_t process);

/** A copy of this process that runs `part` and ends. It does not outlive this process. */
class ForkedProcess {
 public:
  /** Without a limit in time. */
  static constexpr unsigned kForEver = 0;

  /**
   * Starts it. What `part` returns is its exit code. After so many seconds SIGALRM
   * ends it. Throws std::runtime_error when the platform refuses a process.
   */
  explicit ForkedProcess(const std::function<int()> &part, unsigned seconds = 30);

  /** Kills it if it still runs, and reaps it. */
  ~ForkedProcess();

  ForkedProcess(ForkedProcess &&other) noexcept;
  ForkedProcess(const ForkedProcess &) = delete;
  ForkedProcess &operator=(const ForkedProcess &) = delete;

  pid_t pid() const { return pid_; }

  void Kill() const;

  /** Waits for the end. Returns the exit code, or the number of a signal, negated. */
  int Wait();

 private:
  pid_t pid_;
};

}  // namespace qntest

#endif
