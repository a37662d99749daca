// SPDX-License-Identifier: MIT
#include "hostile_test.h"

#include <malloc.h>

#include <array>
#include <ostream>
#include <utility>

#include "hostile_report.h"
#include "support/captured_output.h"
#include "support/process_figures.h"

namespace qntest {
namespace {

constexpr char kLoopback[] = "127.0.0.1";
constexpr char kHostBehindGateway[] = "mmsc.test";
constexpr char kHostAddress[] = "192.0.2.1";
constexpr std::size_t kLongestPiece = 2047;  // of a composed request
constexpr int kMostCalls = 1000000;

std::string RouteTopic(const testing::TestInfo &test) {
  const std::string suite = test.test_suite_name();
  const std::string name = test.name();
  return suite.substr(suite.find('/') + 1) + "." + name.substr(0, name.find('/'));
}

}  // namespace

std::string NameOf(Route route) { return route == Route::kDirect ? "Direct" : "Proxy"; }

std::string RouteName(const testing::TestParamInfo<Route> &info) { return NameOf(info.param); }

std::ostream &operator<<(std::ostream &out, const Ending &ending) {
  return out << "{result " << ending.result << ", state " << ending.state << ", socket "
             << ending.socket << ", status " << ending.status << ", delivered "
             << testing::PrintToString(ending.delivered) << '}';
}

Ending ReadToEnding(QNHttpCtx *ctx, ReadCall read) {
  const DiscardedOutput no_trace;
  Ending ending;
  std::array<char, 4096> room;
  int calls = 0;
  do {
    ending.result = read(ctx, room.data(), static_cast<std::int32_t>(room.size()));
    if (ending.result > 0) {
      ending.delivered.append(room.data(), static_cast<std::size_t>(ending.result));
    }
  } while (ending.result != 0 && ending.result != -1 && ++calls < kMostCalls);
  EXPECT_LT(calls, kMostCalls) << "the transfer does not end";
  ending.state = ctx->state;
  ending.socket = ctx->socket;
  ending.status = ctx->retValue;
  return ending;
}

Passage PassToEnding(QNHttpCtx *ctx, std::int32_t capacity,
                     const std::function<void(const char *bytes, std::int32_t count)> &take) {
  const DiscardedOutput no_trace;
  std::vector<char> room(static_cast<std::size_t>(capacity));
  Passage passage;
  do {
    passage.result = fnQNStack_Http_ReadRecvContext(ctx, room.data(), capacity);
    if (passage.result > 0) take(room.data(), passage.result);
    ++passage.calls;
  } while (passage.result != 0 && passage.result != -1 && passage.calls < kMostCalls);
  EXPECT_LT(passage.calls, kMostCalls) << "the transfer does not end";
  return passage;
}

ConnectionScript ByteByByte(const std::string &answer, const std::string &more) {
  ConnectionScript script = {ReadHeader()};
  for (const char byte : answer) {
    script.push_back(SendBytes({byte}));
    script.push_back(AwaitSignal());
  }
  script.insert(script.end(), {SendBytes(more), HalfClose(), ReadToEnd()});
  return script;
}

HostileTest::HostileTest() : start_(std::chrono::steady_clock::now()) {
  { const CapturedOutput keeps_its_descriptors; }
  descriptors_ = OpenDescriptors();
  // A started stack would hold blocks from before the count.
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(nullptr, -1);
  heap_ = std::make_unique<FailingHeap>(FailingHeap::kCountOnly);
  stack_ = std::make_unique<HttpStack>();
  // What earlier tests gave back to the heap must not hide what this one takes.
  malloc_trim(0);
  ForgetPeak();
  resident_ = ResidentKilobytes();
}

void HostileTest::TearDown() {
  const long peak = PeakResidentKilobytes() - resident_;
  EXPECT_TRUE(SlotTable::Taken().empty());
  server_.reset();
  stack_.reset();
  EXPECT_EQ(heap_->LiveBlocks(), 0);
  EXPECT_EQ(heap_->LiveBytes(), 0);
  EXPECT_EQ(OpenDescriptors(), descriptors_);
  heap_.reset();
  const auto time = std::chrono::steady_clock::now() - start_;
  Report({RouteTopic(*testing::UnitTest::GetInstance()->current_test_info()), NameOf(GetParam()),
          std::chrono::duration_cast<std::chrono::milliseconds>(time), peak,
          HasFailure() ? "FAILED" : result_});
}

ScriptedServer &HostileTest::Serve(std::vector<ConnectionScript> scripts,
                                   std::chrono::milliseconds patience) {
  server_.reset();
  server_ = std::make_unique<ScriptedServer>(std::move(scripts), patience);
  if (GetParam() == Route::kProxy) fnQNStack_Http_SetProxy(kLoopback, server_->port());
  return *server_;
}

std::string HostileTest::Url(const std::string &path) const {
  if (GetParam() == Route::kProxy) return std::string("http://") + kHostBehindGateway + path;
  return std::string("http://") + kLoopback + ":" + std::to_string(server_->port()) + path;
}

WatchedHostileTest::WatchedHostileTest() {
  network_.AfterReceive([this] { server().Signal(); });
}

ScriptedServer &WatchedHostileTest::Serve(std::vector<ConnectionScript> scripts) {
  ScriptedServer &peer = HostileTest::Serve(std::move(scripts));
  network_.ForgetCalls();
  for (const char *host : {kHostBehindGateway, "other.test"}) {
    network_.AddHost(host, {kHostAddress});
  }
  network_.Route(kHostAddress, 80, peer.port());
  return peer;
}

std::string WatchedHostileTest::Url(const std::string &path, const std::string &host) {
  return "http://" + host + path;
}

std::string WatchedHostileTest::FirstLine(const std::string &path, const std::string &host) {
  const std::string target = GetParam() == Route::kProxy ? Url(path, host) : path;
  return ("GET " + target).substr(0, kLongestPiece) + " HTTP/1.0";
}

}  // namespace qntest
