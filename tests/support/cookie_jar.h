// SPDX-License-Identifier: MIT
// Looks into the cookie jar.
#ifndef QNSTACK_TESTS_SUPPORT_COOKIE_JAR_H
#define QNSTACK_TESTS_SUPPORT_COOKIE_JAR_H

#include <iosfwd>
#include <string>
#include <vector>

namespace qntest {

// A cookie of the jar; a null text reads "(null)".
struct StoredCookie {
  std::string name;
  std::string value;
  std::string domain;
  std::string path;

  bool operator==(const StoredCookie &) const = default;
};

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const StoredCookie &cookie);

// The cookies in the jar's order, newest first; none if there is no jar.
std::vector<StoredCookie> CookiesInJar();

}  // namespace qntest

#endif
