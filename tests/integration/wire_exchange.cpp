// SPDX-License-Identifier: MIT
#include "wire_exchange.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace qntest {
namespace {

// Addresses that no machine has; connecting to them is routed to a local port.
constexpr char kNetwork[] = "192.0.2.";

}  // namespace

std::ostream &operator<<(std::ostream &out, const ExchangeRow &row) { return out << row.topic; }

std::string TopicOf(const testing::TestParamInfo<ExchangeRow> &info) { return info.param.topic; }

std::string RequestText(const std::string &start, const std::string &host,
                        const std::string &more) {
  return start + " HTTP/1.0\r\nHost: " + host + "\r\n" + kHandsetHeaders + more + "\r\n";
}

std::string BodyHeaders(const std::string &type, std::size_t length) {
  return "Content-Type: " + type + "\r\nContent-Length: " + std::to_string(length) + "\r\n";
}

ScriptedServer &WireTest::Serve(const std::string &host, std::uint16_t port,
                                std::vector<ConnectionScript> scripts) {
  auto known = std::find(hosts_.begin(), hosts_.end(), host);
  if (known == hosts_.end()) known = hosts_.insert(hosts_.end(), host);
  const std::string address = kNetwork + std::to_string(known - hosts_.begin() + 1);
  servers_.push_back(std::make_unique<ScriptedServer>(std::move(scripts)));
  network_.AddHost(host, {address});
  network_.Route(address, port, servers_.back()->port());
  return *servers_.back();
}

void WireTest::UseGateway() { fnQNStack_Http_SetProxy(kGateway, kGatewayPort); }

void WireExchange::RunRow() {
  const ExchangeRow &row = GetParam();
  std::vector<ScriptedServer *> servers;
  for (const Peer &peer : row.peers) servers.push_back(&Serve(peer.host, peer.port, peer.scripts));
  if (row.asked.through_gateway) UseGateway();

  RunCalls(Open(row.asked), row);

  EXPECT_TRUE(SlotTable::Taken().empty());
  for (std::size_t i = 0; i < servers.size(); ++i) {
    EXPECT_EQ(servers[i]->Finish(), "") << row.peers[i].host;
    for (std::size_t j = 0; j < row.peers[i].requests.size(); ++j) {
      EXPECT_EQ(servers[i]->Received(j), row.peers[i].requests[j]) << "connection " << j;
    }
  }
}

void WireExchange::RunCalls(const Context &ctx, const ExchangeRow &row) {
  std::string delivered;
  CallRow call = {-2, 0, 0, 0, 0};
  while (call.result == -2 || call.result > 0) call = ReadOnce(ctx, delivered);
  EXPECT_EQ(call, (CallRow{0, QN_HTTP_COMPLETE, 1, row.redirects, 1}));
  EXPECT_EQ(delivered, row.delivered);
  EXPECT_EQ(ctx->retValue, row.status);
}

}  // namespace qntest
