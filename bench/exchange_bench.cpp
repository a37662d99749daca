// SPDX-License-Identifier: MIT
// Whole exchanges with a local origin: this library beside loops on bare
// sockets and beside libcurl. What counts is the client's CPU per exchange; the
// origin is another process, on another processor where there is one.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "clients.h"
#include "exchange_report.h"
#include "origin.h"
#include "platform.h"
#include "qnstack/qn_stack_http.h"
#include "recording.h"
#include "rounds.h"
#include "support/captured_output.h"

namespace bench {
namespace {

constexpr std::size_t kKB = 1024;
constexpr std::size_t kAllAtOnce = std::string_view::npos;
constexpr std::size_t kPosted = 300 * kKB;
constexpr int kDefaultRounds = 31;
constexpr int kQuickRounds = 7;
constexpr int kQuickPart = 10;  // of the exchanges in a slice

struct Options {
  bool quick = false;
  int rounds = 0;  // 0: what is usual
  std::string exchange;
  std::string contender;
  std::string json;
};

struct Size {
  const char *name;
  std::size_t sent;
  std::size_t received;
  int count;
};
constexpr Size kSizes[] = {
    {"GET 1 KB", 0, kKB, 400},         {"GET 30 KB", 0, 30 * kKB, 260},
    {"GET 300 KB", 0, 300 * kKB, 100}, {"GET 64 MB", 0, 64 * kKB *kKB, 1},
    {"POST 300 KB", kPosted, 64, 25},
};

std::vector<Contender> ContendersFor(const Exchange &exchange, const std::string &wanted) {
  const std::vector<Contender> all = {
      {kLoop2K, BareClient(exchange, 2 * kKB, 2 * kKB)},
      {kLoop64K, BareClient(exchange, kAllAtOnce, 64 * kKB)},
      {kCurlReused, CurlClient(exchange, Handle::kReused)},
      {kCurlFresh, CurlClient(exchange, Handle::kFresh)},
      {kLibrary4K, LibraryClient(exchange, 4 * kKB)},
      {kLibrary64K, LibraryClient(exchange, 64 * kKB)},
  };
  std::vector<Contender> chosen;
  for (const Contender &contender : all) {
    if (contender.name.find(wanted) != std::string::npos) chosen.push_back(contender);
  }
  if (chosen.empty()) Fail("no contender is called " + wanted);
  return chosen;
}

// Through a proxy the host is a name that only the proxy would resolve.
Exchange MakeExchange(const Size &size, std::uint16_t port, bool through_proxy,
                      std::string_view body, const Options &options) {
  const std::string host =
      through_proxy ? "origin.test" : kOriginAddress + (":" + std::to_string(port));
  Exchange exchange{.name = size.name,
                    .url = "http://" + host + "/" + std::to_string(size.received),
                    .port = port,
                    .through_proxy = through_proxy,
                    .body = body.substr(0, size.sent),
                    .answer_bytes = size.received,
                    .request = {},
                    .count = size.count};
  if (options.quick) exchange.count = 1 + exchange.count / kQuickPart;
  fnQNStack_Http_SetProxy(through_proxy ? kOriginAddress : nullptr, port);
  exchange.request = ComposeRequest(exchange);
  return exchange;
}

// The library traces to standard output, which is the report's.
std::vector<Result> Measure(std::uint16_t port, const Options &options) {
  const qntest::DiscardedOutput no_trace;
  if (fnQNStack_Http_InitStack() != 0) Fail("the stack does not start");
  const std::string body(kPosted, 'b');
  const int usual = options.quick ? kQuickRounds : kDefaultRounds;
  std::vector<Result> results;
  for (const Size &size : kSizes) {
    if (std::string(size.name).find(options.exchange) == std::string::npos) continue;
    for (const bool through_proxy : {false, true}) {
      const Exchange exchange = MakeExchange(size, port, through_proxy, body, options);
      results.push_back({size.name, through_proxy,
                         MeasureInRounds(exchange, ContendersFor(exchange, options.contender),
                                         options.rounds > 0 ? options.rounds : usual)});
    }
  }
  fnQNStack_Http_CloseStack();
  if (results.empty()) Fail("no exchange is called " + options.exchange);
  return results;
}

void Run(const Options &options) {
  const std::vector<int> cpus = AllowedCpus();
  const bool apart = cpus.size() > 1;
  const Origin origin(apart ? cpus.back() : -1);
  if (apart) RunOn(cpus.front());
  const std::vector<Result> results = Measure(origin.port(), options);
  Report(stdout, results);
  Recording recording(options.json);
  Record(recording, results);
}

}  // namespace
}  // namespace bench

int main(int argc, char **argv) try {
  bench::Options options;
  CLI::App app("measures whole exchanges beside bare sockets and libcurl");
  app.add_flag("--quick", options.quick, "a few seconds; shows that all works, not how fast");
  app.add_option("--rounds", options.rounds, "rounds of each exchange")->check(CLI::PositiveNumber);
  app.add_option("--exchange", options.exchange, "only those with this in their name");
  app.add_option("--contender", options.contender, "only those with this in their name");
  app.add_option("--json", options.json, "also write all rounds to this file");
  CLI11_PARSE(app, argc, argv);
  bench::Run(options);
  return 0;
} catch (const std::exception &error) {
  bench::Fail(error.what());
}
