// SPDX-License-Identifier: MIT
// Asking by the HTTP client and reading the answer call by call, with
// everything that a call gave and left behind.
#ifndef QNSTACK_TESTS_SUPPORT_READ_CALLS_H
#define QNSTACK_TESTS_SUPPORT_READ_CALLS_H

#include <cstdint>
#include <iosfwd>
#include <string>

#include "support/http_stack.h"

namespace qntest {

// What the application asks for.
struct Asked {
  std::string method;
  std::string url;
  std::string body = {};
  std::string type = {};
  bool through_gateway = false;
};

// A context for what is asked, whose body must outlive the composing.
Context Open(const Asked &asked);
Context Open(Asked &&asked) = delete;

inline Context OpenGet(const char *url) { return Context(fnQNStack_Http_Open_Get(url)); }

// What one read call gives and leaves behind.
struct CallRow {
  std::int32_t result;
  std::int32_t state;
  std::int32_t tries;
  std::int32_t redirects;
  std::int32_t socket;

  bool operator==(const CallRow &) const = default;
};

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const CallRow &row);

// One read call with room for `capacity` bytes, which are appended to
// `delivered`.
CallRow ReadOnce(const Context &ctx, std::string &delivered, std::int32_t capacity = 4096);

}  // namespace qntest

#endif
