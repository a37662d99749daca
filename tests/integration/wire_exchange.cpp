// SPDX-License-Identifier: MIT
#include "wire_exchange.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace qntest {
namespace {

// Addresses that no machine has; connecting to them is routed to a local port.
constexpr char kNetwork[] = "192.0.2.";

void ExpectRequests(ScriptedServer &server, const Peer &peer) {
  EXPECT_EQ(server.Finish(), "") << peer.host;
  for (std::size_t i = 0; i < peer.requests.size(); ++i) {
    EXPECT_EQ(server.Received(i), peer.requests[i]) << "connection " << i;
  }
}

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

std::string CookieHeaders(const std::string &cookie) {
  return "Cookie: " + cookie + "\r\nCookie2: \"1\"\r\n";
}

WireTest::WireTest() {
  network_.AfterReceive([this] {
    for (const auto &server : servers_) server->Signal();
  });
}

ScriptedServer &WireTest::Serve(const std::string &host, std::uint16_t port,
                                std::vector<ConnectionScript> scripts) {
  AddHost(host);
  servers_.push_back(std::make_unique<ScriptedServer>(std::move(scripts)));
  network_.Route(AddressOf(host), port, servers_.back()->port());
  return *servers_.back();
}

void WireTest::AddHost(const std::string &host) { network_.AddHost(host, {AddressOf(host)}); }

void WireTest::Refuse(const std::string &host, std::uint16_t port) {
  AddHost(host);
  refusing_.push_back(std::make_unique<RefusingPort>());
  network_.Route(AddressOf(host), port, refusing_.back()->port());
}

void WireTest::UseGateway() { fnQNStack_Http_SetProxy(kGateway, kGatewayPort); }

std::string WireTest::AddressOf(const std::string &host) {
  auto known = std::find(hosts_.begin(), hosts_.end(), host);
  if (known == hosts_.end()) known = hosts_.insert(hosts_.end(), host);
  return kNetwork + std::to_string(known - hosts_.begin() + 1);
}

void WireExchange::RunRow() {
  const ExchangeRow &row = GetParam();
  std::vector<ScriptedServer *> servers;
  for (const Peer &peer : row.peers) servers.push_back(&Serve(peer.host, peer.port, peer.scripts));
  if (row.asked.through_gateway) UseGateway();

  RunCalls(Open(row.asked), row);

  EXPECT_TRUE(SlotTable::Taken().empty());
  for (std::size_t i = 0; i < servers.size(); ++i) ExpectRequests(*servers[i], row.peers[i]);
}

void WireExchange::RunCalls(const Context &ctx, const ExchangeRow &row) {
  std::string delivered;
  for (std::size_t i = 0; i < row.calls.size(); ++i) {
    ASSERT_EQ(ReadOnce(ctx, delivered), row.calls[i]) << "call " << i + 1;
  }
  EXPECT_EQ(delivered, row.delivered);
  EXPECT_EQ(ctx->retValue, row.status);
}

}  // namespace qntest
