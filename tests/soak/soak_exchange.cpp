// SPDX-License-Identifier: MIT
#include "soak_exchange.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "qnstack/qnstack.h"

namespace soak {
namespace {

constexpr int32_t kRoom = 4096;
constexpr long kMostTold = 10;
constexpr unsigned kDocuments = 300;
constexpr unsigned kPopular = 20;  // of them; asked for as often as all others
constexpr std::size_t kLongestDocument = 12000;
constexpr char kLoopback[] = "127.0.0.1";
constexpr char kHostBehindGateway[] = "mms.soak";
// The one dotted address that does not count as resolved.
constexpr char kNoAddress[] = "255.255.255.255";

struct FreeContext {
  void operator()(QNHttpCtx *ctx) const { fnQNStack_Http_FreeCtx(ctx); }
};
using Context = std::unique_ptr<QNHttpCtx, FreeContext>;

// What the exchange leads to, behind a gateway if there is one.
struct Destination {
  const char *host;
  std::uint16_t port;
};

Destination DestinationOf(const Plan &plan, const Peers &peers) {
  switch (plan.peer) {
    case Peer::kRefusing:
      return {kLoopback, peers.refusing};
    case Peer::kWithoutAddress:
      return {kNoAddress, peers.origin};
    default:
      return {kLoopback, peers.origin};
  }
}

std::string UrlOf(const Plan &plan, const Destination &to) {
  if (plan.proxy) return std::string("http://") + kHostBehindGateway + PathOf(plan);
  return std::string("http://") + to.host + ":" + std::to_string(to.port) + PathOf(plan);
}

Context Open(const Plan &plan, const Peers &peers, const std::string &body) {
  const Destination to = DestinationOf(plan, peers);
  fnQNStack_Http_SetProxy(plan.proxy ? to.host : nullptr, to.port);
  const std::string url = UrlOf(plan, to);
  const auto length = static_cast<int32_t>(body.size());
  if (plan.method == "HEAD") return Context(fnQNStack_Http_Open_Head(url.c_str()));
  if (plan.method == "POST") {
    return Context(fnQNStack_Http_Open_Post(url.c_str(), body.data(), length, nullptr));
  }
  if (plan.method == "PUT") {
    return Context(fnQNStack_Http_Open_Put(url.c_str(), body.data(), length, "text/plain"));
  }
  return Context(fnQNStack_Http_Open_Get(url.c_str()));
}

// Reads until the answer has ended or failed, or `enough` bytes have come.
int32_t Read(QNHttpCtx *ctx, bool raw, std::size_t enough, std::string &delivered) {
  char room[kRoom];
  int32_t result = -2;
  while (result != 0 && result != -1 && delivered.size() < enough) {
    result = raw ? fnQNStack_Http_ReadRecvData(ctx, room, kRoom)
                 : fnQNStack_Http_ReadRecvContext(ctx, room, kRoom);
    if (result > 0) delivered.append(room, static_cast<std::size_t>(result));
  }
  return result;
}

// Stops a transfer that has begun and takes out what is left of it.
void StopAndDrain(QNHttpCtx *ctx, std::string &delivered) {
  fnQNStack_Http_Stop(ctx);
  // The rest may be a redirect, which would begin anew.
  Read(ctx, false, delivered.size() + kRoom, delivered);
}

void Judge(const Plan &plan, const Outcome &got, Tally &tally) {
  const Outcome expected = OutcomeOf(plan);
  if (got.result == expected.result && got.state == expected.state &&
      got.redirects == expected.redirects && got.body == expected.body) {
    return;
  }
  if (++tally.wrong > kMostTold) return;
  std::fprintf(stderr,
               "soak: %s %s%s ended with result %d, state %d, %d redirects, %zu bytes; not with "
               "%d, %d, %d, %zu\n",
               plan.method.c_str(), PathOf(plan).c_str(), plan.proxy ? " by proxy" : "", got.result,
               got.state, got.redirects, got.body.size(), expected.result, expected.state,
               expected.redirects, expected.body.size());
}

// Of a raw answer the body alone; the header is told by its end.
std::string WithoutHeader(const std::string &answer) {
  const std::size_t end = answer.find("\r\n\r\n");
  return end == std::string::npos ? answer : answer.substr(end + 4);
}

Plan PlanOfDocument(unsigned number) {
  Plan plan;
  plan.answer_bytes = 1 + number * 7919U % kLongestDocument;
  plan.pattern = number % 251;
  return plan;
}

// Whether the cache has the document, and has it right.
bool IsInCache(const std::string &url, const std::string &body, Tally &tally) {
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(url.c_str());
  if (entry == nullptr) return false;
  std::string kept(static_cast<std::size_t>(entry->size), '\0');
  // An entry whose URL was saved again has lost its body; it shows up once the
  // newer entry is thrown out before it.
  if (fnQNStack_Cache_LoadFileToBuffer(entry->file_no, kept.data(), entry->size) != 0) {
    ++tally.cache_hits_without_body;
    return false;
  }
  if (kept != body && ++tally.wrong <= kMostTold) {
    std::fprintf(stderr, "soak: the cache gave a wrong body\n");
  }
  ++tally.cache_hits;
  return true;
}

// Keeps the document for that many seconds.
void Keep(const std::string &url, const std::string &body, unsigned seconds, Tally &tally) {
  const std::string line = "Cache-Control: max-age=" + std::to_string(seconds);
  fnQNStack_Cache_InitTime();
  fnQNStack_Cache_ParseCacheTime("Content-Type: text/plain");
  fnQNStack_Cache_ParseCacheTime(line.c_str());
  const int32_t saved =
      fnQNStack_Cache_Save(url.c_str(), nullptr, body.data(), static_cast<int32_t>(body.size()),
                           fnQNStack_Cache_getExpired(), 7);
  if (saved != 1 && ++tally.wrong <= kMostTold) std::fprintf(stderr, "soak: a save failed\n");
  ++tally.cache_saves;
  tally.most_entries =
      std::max(tally.most_entries, static_cast<long>(fnQNList_GetCount(fnQNFS_http_cache_list())));
}

}  // namespace

void RunPlan(const Plan &plan, const Peers &peers, Tally &tally) {
  const std::string request(plan.request_bytes, 'r');
  const Context ctx = Open(plan, peers, request);
  Outcome got;
  const bool whole = plan.reader == Reader::kBody || plan.reader == Reader::kRaw;
  got.result = Read(ctx.get(), plan.reader == Reader::kRaw, whole ? SIZE_MAX : 1, got.body);
  if (plan.reader == Reader::kStops) StopAndDrain(ctx.get(), got.body);
  if (plan.reader == Reader::kRaw) got.body = WithoutHeader(got.body);
  got.state = ctx->state;
  got.redirects = ctx->redirectCount;
  tally.bytes += static_cast<long>(got.body.size());
  tally.redirects += got.redirects;
  if (got.result == -1) ++tally.failed;
  if (whole) Judge(plan, got, tally);
}

void RunDocument(Random &random, const Peers &peers, Tally &tally) {
  const bool popular = random() % 2 == 0;
  const auto number = static_cast<unsigned>(random() % (popular ? kPopular : kDocuments));
  const Plan plan = PlanOfDocument(number);
  const std::string url = "http://mms.soak/document/" + std::to_string(number);
  const std::string body = BodyOf(plan.pattern, plan.answer_bytes);
  const bool again = random() % 20 == 0;  // saved although it is there
  if (IsInCache(url, body, tally) && !again) return;
  RunPlan(plan, peers, tally);
  Keep(url, body, random() % 10 == 0 ? 1 : 3600, tally);
}

}  // namespace soak
