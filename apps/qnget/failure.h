// How qnget ends: its exit codes, and the one exception that carries a code
// and the message for standard error from wherever something failed to main.
#ifndef QNGET_FAILURE_H
#define QNGET_FAILURE_H

#include <cstdio>
#include <stdexcept>
#include <string>

namespace qnget {

enum ExitCode {
  kSuccess = 0,
  kUsage = 1,
  kNotResolved = 2,
  kNotConnected = 3,
  kNotReceived = 4,
  kTooManyRedirects = 5,
  kNotWritten = 6,
  kErrorStatus = 22
};

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string &message, bool retryable = false)
      : std::runtime_error(message), code_(code), retryable_(retryable) {}

  ExitCode code() const { return code_; }

  /** True if no status has come, so that asking again may help. */
  bool retryable() const { return retryable_; }

 private:
  ExitCode code_;
  bool retryable_;
};

constexpr int kFirstErrorStatus = 400;

/** For an answer that came, with a status from there on. */
inline Failure ErrorStatus(int status) {
  return {kErrorStatus, "the answer has status " + std::to_string(status)};
}

/** A line on standard error. */
inline void Say(const std::string &text) { fprintf(stderr, "qnget: %s\n", text.c_str()); }

}  // namespace qnget

#endif
