// SPDX-License-Identifier: MIT
// The signals of qnget: Ctrl-C and its kin remove the half-written file before
// they end the program, and an interval timer ends waits in blocking sockets.
#ifndef QNGET_SIGNALS_H
#define QNGET_SIGNALS_H

#include <signal.h>

#include <optional>
#include <string>

namespace qnget {

/** Holds all signals back while it lives. */
class SignalPause {
 public:
  SignalPause();
  ~SignalPause();

  SignalPause(const SignalPause &) = delete;
  SignalPause &operator=(const SignalPause &) = delete;

 private:
  sigset_t before_;
};

/**
 * Installs the handlers. SIGINT, SIGTERM and SIGHUP still end the program as
 * they do by default, unless the caller had them ignored. A closed pipe
 * becomes a failed write.
 */
void InstallSignalHandlers();

/**
 * Names the file that must not outlive an early end; empty for none. Make and
 * name it, or rename it and forget it, under one SignalPause.
 */
void SetTemporaryFile(const std::string &path);

/** Lets the time run; `seconds` after the program's start it is up. */
void StartDeadline(double seconds);

/** The seconds until the time is up; nothing without a deadline. */
std::optional<double> TimeLeft();

/** From here on the time cannot run out any more. */
void StopDeadline();

/**
 * Says what is being waited for next. A wait that the timer cannot interrupt,
 * as the resolver's, is ended one second late from inside the signal handler,
 * with these words.
 */
void SetLastWords(const std::string &doing);

/** Throws Failure if the time is up; `doing` completes "timed out ..., while". */
void CheckDeadline(const std::string &doing);

/** Waits, unless the time is up before. */
void PauseFor(double seconds, const std::string &doing);

}  // namespace qnget

#endif
