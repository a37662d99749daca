// SPDX-License-Identifier: MIT
// The HTTP client as tests use it: a started stack, contexts that free
// themselves, calls with everything they did, and the headers by which the
// client shows itself to the network.
#ifndef QNSTACK_TESTS_SUPPORT_HTTP_STACK_H
#define QNSTACK_TESTS_SUPPORT_HTTP_STACK_H

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "qnstack/qn_stack_http.h"

namespace qntest {

// The four header lines that a started stack sends, as they go out.
inline constexpr char kHandsetHeaders[] =
    "Accept: */*,application/vnd.wap.mms-message,text/html\r\n"
    "User-Agent: MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1\r\n"
    "Profile: http://www.example.com/mobile/uaprof/MRV-K415.xml\r\n"
    "Accept-Language: en\r\n";

// Starts the stack without a proxy. At its end everything that outlives a
// context is as at load time.
class HttpStack {
 public:
  HttpStack();
  ~HttpStack();
  HttpStack(const HttpStack &) = delete;
  HttpStack &operator=(const HttpStack &) = delete;
};

struct FreeContext {
  void operator()(QNHttpCtx *ctx) const { fnQNStack_Http_FreeCtx(ctx); }
};
using Context = std::unique_ptr<QNHttpCtx, FreeContext>;

// What a call that drives a context gave and left behind.
struct Outcome {
  int32_t result = 0;
  int32_t state = 0;
  int32_t tries = 0;   // tryCount
  int32_t socket = 0;  // slot number
  std::string trace;   // printed during the call

  bool operator==(const Outcome &) const = default;
};

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const Outcome &outcome);

// Makes a call and collects its outcome.
Outcome OutcomeOf(QNHttpCtx *ctx, const std::function<int32_t()> &call);

// One step of the transfer.
Outcome RunStep(QNHttpCtx *ctx);
inline Outcome RunStep(const Context &ctx) { return RunStep(ctx.get()); }

// The bytes of a buffer that nobody has taken yet.
std::string UnreadOf(const QNMemBuffer *buffer);

// Appends to a buffer.
void Append(QNMemBuffer *buffer, const std::string &bytes);

}  // namespace qntest

#endif
