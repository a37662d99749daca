// SPDX-License-Identifier: MIT
// Exchanges of the HTTP client with scripted servers, as data: what is asked,
// what each server does, which bytes it must have received, and what comes of it.
#ifndef QNSTACK_TESTS_INTEGRATION_WIRE_EXCHANGE_H
#define QNSTACK_TESTS_INTEGRATION_WIRE_EXCHANGE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "support/http_stack.h"
#include "support/network_faults.h"
#include "support/read_calls.h"
#include "support/scripted_server.h"
#include "support/slot_table.h"
#include "support/watchdog.h"

namespace qntest {

// The gateway of exchanges that go through one.
inline constexpr char kGateway[] = "gateway.test";
inline constexpr std::uint16_t kGatewayPort = 3128;

// A server, what each of its connections does and what it must have received.
struct Peer {
  std::string host;
  std::uint16_t port;
  std::vector<ConnectionScript> scripts;
  std::vector<std::string> requests;
};

struct ExchangeRow {
  std::string topic;
  Asked asked;
  std::vector<Peer> peers;
  std::int32_t redirects;
  std::string delivered;
  std::int32_t status;
};

std::ostream &operator<<(std::ostream &out, const ExchangeRow &row);

// Names a row in a list of tests.
std::string TopicOf(const testing::TestParamInfo<ExchangeRow> &info);

// A request up to its body: the first line's start as in "GET /x", what the
// Host line names, and the lines behind those of the handset.
std::string RequestText(const std::string &start, const std::string &host,
                        const std::string &more = {});

// The lines that go with a body.
std::string BodyHeaders(const std::string &type, std::size_t length);

// A started client in a network of its own, where names lead to scripted servers.
class WireTest : public testing::Test {
 protected:
  // A server under that name and port, which need not be the real one.
  ScriptedServer &Serve(const std::string &host, std::uint16_t port,
                        std::vector<ConnectionScript> scripts);

  static void UseGateway();

  Watchdog watchdog_;
  HttpStack stack_;
  SlotTable table_;
  NetworkFaults network_;

 private:
  std::vector<std::string> hosts_;
  std::vector<std::unique_ptr<ScriptedServer>> servers_;
};

// Runs one row.
class WireExchange : public WireTest, public testing::WithParamInterface<ExchangeRow> {
 protected:
  void RunRow();

 private:
  static void RunCalls(const Context &ctx, const ExchangeRow &row);
};

}  // namespace qntest

#endif
