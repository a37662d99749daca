// SPDX-License-Identifier: MIT
// Whole exchanges: answers arrive in pieces over scripted connections, with
// ends and failures anywhere, and are read in portions of any size; redirects
// lead to the next connection. What is delivered must be what was sent behind
// the header, and the header must read as when it comes in one piece. Now and
// then the heap refuses, and then nothing may break or leak. Tunnels are tried
// too.
//
// Input: from the end backwards, how to ask, how each connection goes, and the
// sizes of the reads; the pieces of the answers come from the front, each ended
// by a backslash and another character.

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qn_ascii.h"
#include "qn_stack_http_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_porting.h"
#include "qnstack/qn_stack_tools.h"
#include "support/answer_context.h"
#include "support/failing_heap.h"
#include "support/http_stack.h"
#include "support/network_faults.h"

namespace {

using namespace qntest;

constexpr std::size_t kLongestPiece = 4096;
constexpr std::size_t kHighWater = 20480;
constexpr int kMostCalls = 200000;
constexpr int32_t kPatience = 50;     // tries in vain before the rest is passed over
constexpr int32_t kLastTries = 2990;  // shortly before a context gives up
constexpr char kProxy[] = "gateway.test";

enum class Trouble { kNone, kNoName, kNoSocket, kRefused, kSendFails, kSendsLittle };

// What one connection brings.
struct Script {
  Trouble trouble = Trouble::kNone;
  std::vector<std::string> pieces;
  bool reset = false;  // instead of an orderly end

  std::string Bytes() const {
    std::string bytes;
    for (const std::string &piece : pieces) bytes += piece;
    return bytes;
  }
};

Script NextScript(FuzzedDataProvider *input) {
  constexpr Trouble kTroubles[] = {
      Trouble::kNone,   Trouble::kNone,        Trouble::kNone,        Trouble::kNone,
      Trouble::kNone,   Trouble::kSendsLittle, Trouble::kSendsLittle, Trouble::kSendFails,
      Trouble::kNoName, Trouble::kNoSocket,    Trouble::kRefused};
  constexpr int kRepeats[] = {1, 1, 1, 1, 2, 9, 40};
  Script script;
  script.trouble = input->PickValueInArray(kTroubles);
  script.reset = input->ConsumeIntegralInRange(0, 3) == 3;
  for (int left = input->ConsumeIntegralInRange(1, 6); left > 0; --left) {
    const int repeats = input->PickValueInArray(kRepeats);
    const std::string piece = input->ConsumeRandomLengthString(kLongestPiece);
    if (piece.empty()) continue;  // would be the end
    for (int i = 0; i < repeats; ++i) script.pieces.push_back(piece);
  }
  return script;
}

// The platform's side of one connection.
std::unique_ptr<NetworkFaults> Connection(const Script &script, const QNHttpCtx &ctx) {
  auto network = std::make_unique<NetworkFaults>(NetworkFaults::Mode::kOffline);
  const bool has_name = script.trouble != Trouble::kNoName;
  network->AddHost(kProxy, {"127.0.0.1"});
  if (ctx.hostname != nullptr && has_name) network->AddHost(ctx.hostname, {"127.0.0.1"});
  if (!has_name) network->Script("gethostbyname", qntest::FailWith(ENOENT));
  if (script.trouble == Trouble::kNoSocket) network->Script("socket", qntest::FailWith(EMFILE));
  if (script.trouble == Trouble::kRefused) network->Script("connect", qntest::FailWith(EPERM));
  if (script.trouble == Trouble::kSendFails) {
    network->Script("send", {qntest::AtMost(10), qntest::FailWith(EPIPE)});
  }
  if (script.trouble == Trouble::kSendsLittle) {
    network->Script("send", std::vector<qntest::Reaction>(5, qntest::AtMost(7)));
  }
  for (const std::string &piece : script.pieces) network->Script("recv", qntest::Deliver(piece));
  if (script.reset) network->Script("recv", qntest::FailWith(ECONNRESET));
  return network;
}

// An answer taken apart in one go.
struct Answer {
  std::vector<std::string> lines;
  std::string body;
};

// The header ends at an empty line, or where no line ends any more: a zero
// byte hides what stands behind it.
Answer TakenApart(const std::string &bytes) {
  Answer answer;
  std::size_t at = 0;
  for (bool header = true; header;) {
    const std::size_t end = bytes.find("\r\n", at);
    if (end == std::string::npos || bytes.find('\0', at) < end) break;
    header = end > at;
    if (header) answer.lines.push_back(bytes.substr(at, end - at));
    at = end + 2;
  }
  answer.body = bytes.substr(at);
  return answer;
}

class Exchange {
 public:
  // The allocation of that number and all after it are refused; 0 for none.
  Exchange(FuzzedDataProvider *input, QNHttpCtx *ctx, std::unique_ptr<NetworkFaults> *network,
           bool raw, int first_refused)
      : input_(input), ctx_(ctx), raw_(raw), first_refused_(first_refused), network_(*network) {}

  void Run() {
    Begin();
    for (int calls = 0; !ended_; ++calls) {
      ASSERT_LT(calls, kMostCalls);
      Read();
      if (first_refused_ == 0) CheckFields();
      // An answer that stalls stalls for good.
      if (ctx_->tryCount > kPatience) ctx_->tryCount = std::max(ctx_->tryCount, kLastTries);
    }
    if (first_refused_ == 0) CheckEnd();
  }

 private:
  // The next connection, and what the context knew before it.
  void Begin() {
    script_ = NextScript(input_);
    network_.reset();
    network_ = Connection(script_, *ctx_);
    bytes_ = script_.Bytes();
    answer_ = TakenApart(bytes_);
    status_before_ = ctx_->retValue;
    length_before_ = ctx_->retCtxLen;
    url_before_ = TextOf(ctx_->url);
    delivered_.clear();
  }

  int32_t AnyCapacity() {
    constexpr int32_t kCapacities[] = {4096, 1, 7, 40, 500, 2047, 2048, 2049, 20480, 65536, 0};
    return input_->PickValueInArray(kCapacities);
  }

  void Read() {
    if (input_->ConsumeIntegralInRange(0, 63) == 63) fnQNStack_Http_Stop(ctx_);
    stopped_ = stopped_ || ctx_->state == QN_HTTP_STOPPED;
    const qntest::Exact<char> area(static_cast<std::size_t>(AnyCapacity()));
    const int32_t redirects = ctx_->redirectCount;
    const int32_t result = Call(area);
    ASSERT_GE(result, -2);
    ASSERT_LE(result, area.length());
    if (result > 0) delivered_.append(area.get(), static_cast<std::size_t>(result));
    if (ctx_->redirectCount > redirects) {
      Redirected(result);
    } else {
      ended_ = result == -1 || (result == 0 && area.size() > 0);
      failed_ = result == -1;
    }
  }

  int32_t Call(const qntest::Exact<char> &area) {
    const auto read = raw_ ? fnQNStack_Http_ReadRecvData : fnQNStack_Http_ReadRecvContext;
    if (first_refused_ == 0) return read(ctx_, area.get(), area.length());
    const int left = std::max(first_refused_ - allocations_, 1);
    const qntest::FailingHeap heap(left, qntest::FailingHeap::Reach::kRest);
    const int32_t result = read(ctx_, area.get(), area.length());
    allocations_ += heap.Allocations();
    return result;
  }

  void Redirected(int32_t result) {
    EXPECT_TRUE(ctx_->retValue >= 300 && ctx_->retValue <= 399);
    EXPECT_EQ(delivered_, "");
    if (ctx_->redirectCount > 10) {
      EXPECT_EQ(result, -1);  // and its body follows
      return;
    }
    if (first_refused_ != 0 && result == -1) {
      ended_ = true;  // without a URL there is nowhere to go
      return;
    }
    EXPECT_EQ(result, -2);
    EXPECT_EQ(ctx_->state, QN_HTTP_NEW);
    if (first_refused_ == 0) EXPECT_STREQ(ctx_->method, "GET");
    stopped_ = false;
    Begin();
  }

  void CheckFields() const {
    for (const QNMemBuffer *buffer : {ctx_->recvBuf, ctx_->sendBuf}) {
      ASSERT_LE(buffer->cursor, buffer->length);
      ASSERT_LE(buffer->length, buffer->capacity);
      ASSERT_EQ(buffer->data[buffer->length], '\0');
    }
    for (const char *text : {ctx_->url, ctx_->hostname, ctx_->path, ctx_->method}) {
      ASSERT_NE(text, nullptr);
    }
    ASSERT_LE(ctx_->redirectCount, 11);
  }

  void CheckEnd() const {
    if (failed_) {
      CheckFailure();
      return;
    }
    const std::string expected = raw_ ? bytes_ : answer_.body;
    if (stopped_ && delivered_.size() < expected.size()) {
      // What had come in before the stop.
      EXPECT_TRUE(raw_ || bytes_.find(delivered_) != std::string::npos);
      return;
    }
    if (stopped_) return;
    EXPECT_EQ(ctx_->state, QN_HTTP_COMPLETE);
    EXPECT_EQ(delivered_, expected);
    if (!raw_) CheckHeader();
  }

  void CheckFailure() const {
    const bool in_trouble =
        script_.trouble == Trouble::kNoName || script_.trouble == Trouble::kNoSocket ||
        script_.trouble == Trouble::kRefused || script_.trouble == Trouble::kSendFails;
    const bool nothing_came = script_.reset && bytes_.empty();
    const bool stalled = ctx_->state == QN_HTTP_GIVEN_UP && bytes_.size() > kHighWater;
    EXPECT_TRUE(in_trouble || nothing_came || stalled || stopped_) << "state " << ctx_->state;
  }

  // The same answer in one piece, in a context that knows what this one knew.
  void CheckHeader() const {
    qntest::AnswerContext whole;
    whole->retValue = status_before_;
    whole->retCtxLen = length_before_;
    fnQN_Free(&whole->url);
    whole->url = fnQNStack_StrDup(url_before_.c_str());
    whole.Feed(bytes_);
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(whole.get()), 0);
    EXPECT_EQ(whole.Unread(), answer_.body);
    EXPECT_EQ(ctx_->retValue, whole->retValue);
    EXPECT_EQ(ctx_->retCtxLen, whole->retCtxLen);
    EXPECT_EQ(ctx_->retEncoding, whole->retEncoding);
    EXPECT_EQ(TextOf(ctx_->retCtxType), TextOf(whole->retCtxType));
    EXPECT_EQ(TextOf(ctx_->url), TextOf(whole->url));
  }

  FuzzedDataProvider *input_;
  QNHttpCtx *ctx_;
  const bool raw_;
  const int first_refused_;
  int allocations_ = 0;
  Script script_;
  std::unique_ptr<NetworkFaults> &network_;
  std::string bytes_;
  Answer answer_;
  std::string delivered_;
  int32_t status_before_ = 0;
  int32_t length_before_ = 0;
  std::string url_before_;
  bool ended_ = false;
  bool failed_ = false;
  bool stopped_ = false;
};

Context Opened(FuzzedDataProvider *input) {
  static constexpr char kBody[] = "a small message";
  constexpr char kUrl[] = "http://origin.test:8080/start?x=1";
  switch (input->ConsumeIntegralInRange(0, 3)) {
    case 0:
    case 1:
      return Context(fnQNStack_Http_Open_Get(kUrl));
    case 2:
      return Context(fnQNStack_Http_Open_Head(kUrl));
    default:
      return Context(fnQNStack_Http_Open_Post(kUrl, kBody, sizeof kBody - 1, nullptr));
  }
}

// A tunnel through the proxy: what the proxy answers, and then bytes both ways
// as they come.
void TryTunnel(FuzzedDataProvider *input) {
  fnQNStack_Http_SetProxy(kProxy, 8080);
  std::unique_ptr<NetworkFaults> network;  // outlives the context, which closes there
  const Context ctx(fnQNStack_Http_Open_Connect("origin.test", 443));
  Script script = NextScript(input);
  script.trouble = Trouble::kNone;
  // Nothing but data lets the wait for the proxy's answer return.
  script.pieces.insert(script.pieces.begin(), "HTTP/1.0 200 Connection established\r\n\r\n");
  network = Connection(script, *ctx);
  std::string received;
  while (received.empty()) {
    const qntest::Exact<char> area(65536);
    const int32_t result = fnQNStack_Http_ReadRecvData(ctx.get(), area.get(), area.length());
    ASSERT_GE(result, -2);
    ASSERT_NE(result, -1);
    received.append(area.get(), static_cast<std::size_t>(std::max(result, 0)));
  }
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
  EXPECT_EQ(network->Sent(),
            "CONNECT origin.test:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");

  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "hello", 5), 5);
  int32_t result = 1;
  while (result > 0) {
    const qntest::Exact<char> area(input->ConsumeIntegralInRange<std::size_t>(1, 2000));
    result = fnQNStack_Http_Socket_Recvata(ctx.get(), area.get(), area.length());
    ASSERT_LE(result, area.length());
    if (result > 0) received.append(area.get(), static_cast<std::size_t>(result));
  }
  EXPECT_EQ(result, script.reset ? -1 : 0);
  EXPECT_EQ(received, script.Bytes());
}

void TryExchange(FuzzedDataProvider *input) {
  const qntest::HttpStack stack;
  if (input->ConsumeIntegralInRange(0, 3) == 3) fnQNStack_Http_SetProxy(kProxy, 8080);
  const auto kind = input->ConsumeIntegralInRange<int>(0, 15);
  if (kind == 15) {
    TryTunnel(input);
    return;
  }
  const bool raw = kind == 7;
  const bool heap_fails = kind >= 12;
  std::unique_ptr<NetworkFaults> network;  // outlives the context, which closes there
  const Context ctx = Opened(input);
  const int first_refused = heap_fails ? input->ConsumeIntegralInRange(1, 250) : 0;
  Exchange exchange(input, ctx.get(), &network, raw, first_refused);
  exchange.Run();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  TryExchange(&input);
  for (int slot = 1; slot < QN_SOCKET_SLOTS; ++slot) EXPECT_EQ(socket_list[slot].fd, 0);
  return 0;
}
