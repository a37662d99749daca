// SPDX-License-Identifier: MIT
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
  kSecureRedirect = 7,
  kErrorStatus = 22
};

/** How far a request may have come that failed, which says whether to ask again is safe. */
enum class Reached {
  kNobody,          // there was no connection
  kPerhapsAServer,  // no status has come
  kAServer          // the server has answered, or it is no matter of a request at all
};

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string &message, Reached reached = Reached::kAServer)
      : std::runtime_error(message), code_(code), reached_(reached) {}

  ExitCode code() const { return code_; }
  Reached reached() const { return reached_; }

 private:
  ExitCode code_;
  Reached reached_;
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
