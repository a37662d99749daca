// SPDX-License-Identifier: MIT
// What the handlers read stands in plain arrays, changed only while signals
// are held back; the handlers call nothing but what is safe in a handler.
#include "signals.h"

#include <errno.h>
#include <limits.h>
#include <string.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "failure.h"

namespace qnget {
namespace {

constexpr suseconds_t kTickMicroseconds = 100000;
constexpr sig_atomic_t kTicksOfGrace = 10;
constexpr double kShortest = 1e-5;  // seconds; a timer of 0 would not run

const auto program_start = std::chrono::steady_clock::now();

char temporary_file[PATH_MAX];
char last_words[1024];
volatile sig_atomic_t ticks = 0;
double time_allowed = 0;  // 0: for ever

void CopyText(char *destination, size_t room, const std::string &text) {
  const size_t length = text.copy(destination, room - 1);
  destination[length] = '\0';
}

std::string TimeoutMessage(const std::string &doing) {
  char seconds[32];
  snprintf(seconds, sizeof seconds, "%g", time_allowed);
  return std::string("timed out after ") + seconds + (time_allowed == 1 ? " second" : " seconds") +
         ", while " + doing;
}

void RemoveTemporaryFile() {
  if (temporary_file[0] != '\0') unlink(temporary_file);
}

// Comes once: the default action is in force again when it sends the signal on.
extern "C" void EndBySignal(int number) {
  RemoveTemporaryFile();
  raise(number);
}

// The first tick interrupts the wait; the later ones do too, for a wait that began
// between the check of the time and the first of them.
extern "C" void Tick(int) {
  const int saved_error = errno;
  ticks = ticks + 1;
  if (ticks > kTicksOfGrace) {
    RemoveTemporaryFile();
    const ssize_t ignored = write(STDERR_FILENO, last_words, strlen(last_words));
    (void)ignored;
    _exit(kNotReceived);
  }
  errno = saved_error;
}

void Handle(int number, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigfillset(&action.sa_mask);
  sigaction(number, &action, nullptr);
}

bool IsIgnored(int number) {
  struct sigaction action {};
  sigaction(number, nullptr, &action);
  return action.sa_handler == SIG_IGN;
}

}  // namespace

SignalPause::SignalPause() {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, &before_);
}

SignalPause::~SignalPause() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

void InstallSignalHandlers() {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    if (!IsIgnored(number)) Handle(number, EndBySignal, static_cast<int>(SA_RESETHAND));
  }
  Handle(SIGPIPE, SIG_IGN, 0);
}

void SetTemporaryFile(const std::string &path) {
  const SignalPause pause;
  if (path.size() >= sizeof temporary_file) throw Failure(kNotWritten, "too long a path: " + path);
  CopyText(temporary_file, sizeof temporary_file, path);
}

void StartDeadline(double seconds) {
  time_allowed = seconds;
  SetLastWords("waiting");
  Handle(SIGALRM, Tick, 0);
  double whole = 0;
  const double part = std::modf(std::max(TimeLeft().value_or(0), kShortest), &whole);
  itimerval timer{};
  timer.it_value.tv_sec = static_cast<time_t>(whole);
  timer.it_value.tv_usec = static_cast<suseconds_t>(part * 1e6);
  timer.it_interval.tv_usec = kTickMicroseconds;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

std::optional<double> TimeLeft() {
  if (time_allowed == 0) return {};
  const std::chrono::duration<double> gone = std::chrono::steady_clock::now() - program_start;
  return time_allowed - gone.count();
}

void StopDeadline() {
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  time_allowed = 0;
  ticks = 0;
}

void SetLastWords(const std::string &doing) {
  const SignalPause pause;
  CopyText(last_words, sizeof last_words, "qnget: " + TimeoutMessage(doing) + "\n");
}

void CheckDeadline(const std::string &doing) {
  if (ticks > 0) throw Failure(kNotReceived, TimeoutMessage(doing));
}

void PauseFor(double seconds, const std::string &doing) {
  double whole = 0;
  const double part = std::modf(seconds, &whole);
  timespec left{static_cast<time_t>(whole), static_cast<long>(part * 1e9)};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) CheckDeadline(doing);
  CheckDeadline(doing);
}

}  // namespace qnget
