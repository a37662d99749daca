// SPDX-License-Identifier: MIT
// Exchanges of the library with the peers, for tests that run direct and
// through each gateway.
#ifndef QNSTACK_TESTS_INTEGRATION_PEERS_EXCHANGE_H
#define QNSTACK_TESTS_INTEGRATION_PEERS_EXCHANGE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qnstack/qn_stack_http.h"

namespace qntest {

enum class Route { kDirect, kTinyproxy, kSquid };

std::string RouteName(Route route);
// The same for INSTANTIATE_TEST_SUITE_P.
std::string NameOfRoute(const ::testing::TestParamInfo<Route> &test);

// After 10 seconds of its life calls that wait are interrupted every 2 seconds,
// which the library reports as failures. If the test goes on all the same, the
// fifth time ends the program.
class Patience {
 public:
  Patience();
  ~Patience();
  Patience(const Patience &) = delete;
  Patience &operator=(const Patience &) = delete;
};

// The library started and set up for a route.
class StackOnRoute {
 public:
  explicit StackOnRoute(Route route);
  ~StackOnRoute();
  StackOnRoute(const StackOnRoute &) = delete;
  StackOnRoute &operator=(const StackOnRoute &) = delete;

 private:
  Patience patience_;
};

// How an exchange ended.
struct Answer {
  std::string body;
  int32_t result = 0;  // of the last call
  int32_t state = 0;
  int32_t status = 0;
  int32_t length = 0;
  int32_t encoding = 0;
  int32_t redirects = 0;
  std::string type;
  std::string url;
  int deliveries = 0;  // calls that delivered something
};

// One call of the read function; what it delivers is added to `answer`.
// False when the exchange has ended.
bool ReadOnce(QNHttpCtx *ctx, Answer &answer);

// Reads an answer to its end and frees the context.
Answer Finish(QNHttpCtx *ctx);

// Finish() for a context opened for the origin's `path`.
Answer Get(const std::string &path);
Answer Head(const std::string &path);
Answer Post(const std::string &path, const std::string &body);
Answer Put(const std::string &path, const std::string &body);

}  // namespace qntest

#endif
