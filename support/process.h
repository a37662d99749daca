// SPDX-License-Identifier: MIT
// Runs a program as a child process for tests: arguments, standard input,
// pipes or a pseudo terminal behind its output, signals, and a bound on every
// wait. What is still running when its Process goes out of scope is killed.
#ifndef QNSTACK_SUPPORT_PROCESS_H
#define QNSTACK_SUPPORT_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace qntest {

/** The bound of a wait whose test names no other. */
inline constexpr std::chrono::milliseconds kProcessPatience{10000};

/** What an output descriptor of the child is. */
enum class Sink {
  kPipe,      ///< a pipe, captured
  kTerminal,  ///< a raw pseudo terminal of 80 columns, captured; one for both descriptors
  kFile       ///< the file that ProcessOptions::output_file names, not captured
};

struct ProcessOptions {
  std::string input{};                     ///< standard input, through a pipe
  bool keep_input_open = false;            ///< no end of input until CloseInput()
  Sink output = Sink::kPipe;               ///< descriptor 1
  Sink error = Sink::kPipe;                ///< descriptor 2; kFile is not offered
  std::string output_file{};               ///< for Sink::kFile; opened for writing
  std::string folder{};                    ///< working folder; empty: the test's own
  std::vector<std::string> environment{};  ///< "NAME=value", added to the test's own
};

struct ProcessResult {
  bool timed_out = false;  ///< the time was up, and the child was killed
  int exit_code = -1;      ///< -1 if a signal ended it
  int signal = 0;          ///< the signal that ended it, or 0
  std::string output{};    ///< descriptor 1; of a terminal for both, everything
  std::string error{};     ///< descriptor 2
};

/**
 * One child, in a process group of its own. A program that cannot be started
 * shows as exit code 127 with the reason in the error text.
 */
class Process {
 public:
  /** Starts command[0], looked up in PATH, with the rest as its arguments. */
  explicit Process(const std::vector<std::string> &command, const ProcessOptions &options = {});

  /** Kills the group if the child still runs, and reaps it. */
  ~Process();

  Process(const Process &) = delete;
  Process &operator=(const Process &) = delete;

  pid_t pid() const { return pid_; }

  /** True when `text` has come out of descriptor 1; false at its end or after `patience`. */
  bool WaitForOutput(std::string_view text, std::chrono::milliseconds patience = kProcessPatience);

  /** As WaitForOutput(), for descriptor 2. */
  bool WaitForError(std::string_view text, std::chrono::milliseconds patience = kProcessPatience);

  /** What has been captured so far. */
  const std::string &output() const { return result_.output; }
  const std::string &error() const { return result_.error; }

  /** Lets a child that was started with keep_input_open see the end of its input. */
  void CloseInput();

  /** Sends a signal to the child; nothing if it has ended. */
  void SendSignal(int signal) const;

  /** Waits for the end; after `patience` the child is killed and timed_out set. */
  ProcessResult wait(std::chrono::milliseconds patience = kProcessPatience);

 private:
  using Deadline = std::chrono::steady_clock::time_point;

  void OpenInput();
  void OpenOutputs();
  void Spawn(const std::vector<std::string> &command);
  bool Pump(Deadline deadline);
  bool WaitForText(const std::string &captured, std::string_view text, Deadline deadline);
  void Feed();
  void Reap();
  void KillGroup() const;

  ProcessOptions options_;
  ProcessResult result_;
  pid_t pid_ = -1;
  bool ended_ = false;
  std::string_view unwritten_;  // of the input
  int end_notice_ = -1;         // becomes readable when the child ends
  int input_read_ = -1;         // kept open here so that feeding never meets a broken pipe
  int input_write_ = -1;
  int output_ = -1;
  int error_ = -1;
  int child_output_ = -1;
  int child_error_ = -1;
};

/** Starts a program, waits for its end and returns everything about it. */
ProcessResult RunProgram(const std::vector<std::string> &command,
                         const ProcessOptions &options = {},
                         std::chrono::milliseconds patience = kProcessPatience);

}  // namespace qntest

#endif
