// SPDX-License-Identifier: MIT
// Base of the tests against hostile peers: a started client on real loopback
// sockets, a scripted peer that it meets directly or as its gateway, and the
// promise that afterwards every slot, descriptor and block is given back.
#ifndef QNSTACK_TESTS_HOSTILE_HOSTILE_TEST_H
#define QNSTACK_TESTS_HOSTILE_HOSTILE_TEST_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "support/failing_heap.h"
#include "support/http_stack.h"
#include "support/network_faults.h"
#include "support/scripted_server.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace qntest {

// Who the hostile peer is: the server itself, or the gateway before it.
enum class Route { kDirect, kProxy };

std::string NameOf(Route route);

// Both routes, and what a test on one is called.
inline const auto kRoutes = testing::Values(Route::kDirect, Route::kProxy);
std::string RouteName(const testing::TestParamInfo<Route> &info);

// The first line of an answer without a length, and the whole header of one.
inline const std::string kStatusLine = "HTTP/1.0 200 OK\r\n";
inline const std::string kOk = kStatusLine + "\r\n";

// How a transfer ended, and what its calls delivered.
struct Ending {
  std::int32_t result = 0;  // of the last call
  std::int32_t state = 0;
  std::int32_t socket = 0;
  std::int32_t status = 0;
  std::string delivered;

  bool operator==(const Ending &) const = default;
};

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const Ending &ending);

// The delivering call of a transfer.
using ReadCall = std::int32_t (*)(QNHttpCtx *, void *, std::int32_t);

// Calls until the answer has ended or failed. Fails the test when that takes
// more than a million calls.
Ending ReadToEnding(QNHttpCtx *ctx, ReadCall read = fnQNStack_Http_ReadRecvContext);

// The same for a long answer, whose bytes only go by `take`; how many calls
// it took, the last one included.
struct Passage {
  std::int32_t result = 0;
  int calls = 0;
};
Passage PassToEnding(QNHttpCtx *ctx, std::int32_t capacity,
                     const std::function<void(const char *bytes, std::int32_t count)> &take);

// Answers a request so that each byte goes out when the one before it has been
// received, and ends with further bytes in one piece.
ConnectionScript ByteByByte(const std::string &answer, const std::string &more = {});

class HostileTest : public testing::TestWithParam<Route> {
 protected:
  HostileTest();
  void TearDown() override;

  // A peer in place of the one before it, on the test's route.
  ScriptedServer &Serve(std::vector<ConnectionScript> scripts,
                        std::chrono::milliseconds patience = std::chrono::seconds(10));
  ScriptedServer &server() { return *server_; }

  // A URL that leads to the peer.
  std::string Url(const std::string &path = "/m") const;

  // What is said of the test in the table.
  void Measured(std::string result) { result_ = std::move(result); }

 private:
  Watchdog watchdog_{100};
  SlotTable table_;
  std::unique_ptr<HttpStack> stack_;
  std::unique_ptr<ScriptedServer> server_;
  std::string result_ = "as promised";
  int descriptors_;
  long resident_;
  std::chrono::steady_clock::time_point start_;
  std::unique_ptr<FailingHeap> heap_;

 protected:
  // What the library has in use since the test's start.
  const FailingHeap &heap() const { return *heap_; }
};

// The same with every network call of the client looked at, so for short
// transfers alone: the name mmsc.test and others lead to the peer, and each
// receive is a signal to it.
class WatchedHostileTest : public HostileTest {
 protected:
  WatchedHostileTest();

  ScriptedServer &Serve(std::vector<ConnectionScript> scripts);

  static std::string Url(const std::string &path = "/m", const std::string &host = "mmsc.test");

  // The first line of the request for a URL at `host`.
  static std::string FirstLine(const std::string &path, const std::string &host = "mmsc.test");

  NetworkFaults network_;
};

}  // namespace qntest

#endif
