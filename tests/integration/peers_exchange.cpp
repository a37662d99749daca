// SPDX-License-Identifier: MIT
#include "integration/peers_exchange.h"

#include <sys/time.h>

#include <csignal>

#include "integration/peers_servers.h"
#include "support/captured_output.h"

namespace qntest {
namespace {

constexpr char kBodyType[] = "application/octet-stream";

std::string TextOf(const char *text) { return text == nullptr ? "" : text; }

int32_t LengthOf(const std::string &body) { return static_cast<int32_t>(body.size()); }

constexpr int kInterruptions = 5;
volatile std::sig_atomic_t interruptions_left = 0;

void Interrupt(int) {
  interruptions_left = interruptions_left - 1;
  if (interruptions_left > 0) return;
  signal(SIGALRM, SIG_DFL);
  raise(SIGALRM);
}

void SetTimer(time_t first, time_t then) {
  const itimerval timer = {{then, 0}, {first, 0}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

std::string RouteName(Route route) {
  switch (route) {
    case Route::kDirect:
      return "Direct";
    case Route::kTinyproxy:
      return "Tinyproxy";
    case Route::kSquid:
      return "Squid";
  }
  return "";
}

std::string NameOfRoute(const ::testing::TestParamInfo<Route> &test) {
  return RouteName(test.param);
}

Patience::Patience() {
  interruptions_left = kInterruptions;
  struct sigaction interrupt = {};  // without SA_RESTART, so that the call returns
  interrupt.sa_handler = Interrupt;
  sigaction(SIGALRM, &interrupt, nullptr);
  SetTimer(10, 2);
}

Patience::~Patience() {
  SetTimer(0, 0);
  signal(SIGALRM, SIG_DFL);
}

StackOnRoute::StackOnRoute(Route route) {
  fnQNStack_Http_InitStack();
  if (route == Route::kTinyproxy) {
    fnQNStack_Http_SetProxy("127.0.0.1", Peers::Get().tinyproxy_port());
  } else if (route == Route::kSquid) {
    fnQNStack_Http_SetProxy("127.0.0.1", Peers::Get().squid_port());
  }
}

StackOnRoute::~StackOnRoute() {
  fnQNStack_Http_SetProxy(nullptr, 0);
  fnQNStack_Http_CloseStack();
}

bool ReadOnce(QNHttpCtx *ctx, Answer &answer) {
  char piece[8192];
  answer.result = fnQNStack_Http_ReadRecvContext(ctx, piece, sizeof(piece));
  if (answer.result > 0) {
    answer.body.append(piece, static_cast<size_t>(answer.result));
    ++answer.deliveries;
  }
  return answer.result > 0 || answer.result == -2;
}

Answer Finish(QNHttpCtx *ctx) {
  Answer answer;
  OutputOf([&] {
    while (ReadOnce(ctx, answer)) {
    }
  });
  answer.state = ctx->state;
  answer.status = ctx->retValue;
  answer.length = ctx->retCtxLen;
  answer.encoding = ctx->retEncoding;
  answer.redirects = ctx->redirectCount;
  answer.type = TextOf(ctx->retCtxType);
  answer.url = TextOf(ctx->url);
  fnQNStack_Http_FreeCtx(ctx);
  return answer;
}

Answer Get(const std::string &path) {
  return Finish(fnQNStack_Http_Open_Get(Peers::Get().Url(path).c_str()));
}

Answer Head(const std::string &path) {
  return Finish(fnQNStack_Http_Open_Head(Peers::Get().Url(path).c_str()));
}

Answer Post(const std::string &path, const std::string &body) {
  return Finish(fnQNStack_Http_Open_Post(Peers::Get().Url(path).c_str(), body.data(),
                                         LengthOf(body), kBodyType));
}

Answer Put(const std::string &path, const std::string &body) {
  return Finish(fnQNStack_Http_Open_Put(Peers::Get().Url(path).c_str(), body.data(), LengthOf(body),
                                        kBodyType));
}

}  // namespace qntest
