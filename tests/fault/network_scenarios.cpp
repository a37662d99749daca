// SPDX-License-Identifier: MIT
// Exchanges with peers that the network's wraps play, so that each run makes
// the same calls. What a program may have been told and may have sent is the
// same whichever call failed: a part of what it would have been without.
#include <algorithm>
#include <map>
#include <string_view>

#include "fault/scenario.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/http_stack.h"
#include "support/network_faults.h"

namespace qntest {

namespace {

constexpr int kMostCalls = 4000;  // a context gives up after 3000

std::string Letters(size_t count) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += static_cast<char>('a' + i * 7 % 26);
  return text;
}

// An exchange over sockets that lead nowhere.
class NetworkScenario : public Scenario {
 public:
  void Prepare() override {
    network_.AddHost("mmsc.test", {"192.0.2.1"});
    network_.AddHost("gw", {"192.0.2.9"});
    fnQNStack_Http_CloseStack();
  }

  void Act() override {
    fnQNStack_Http_InitStack();
    Exchange();
    fnQNStack_Http_SetProxy(nullptr, -1);
    fnQNStack_Http_CloseStack();
  }

  std::string Seen() const override {
    std::string seen = told_;
    for (const std::string &request : Sent()) seen += "|" + request;
    return seen;
  }

  Verdict Judge(bool /*heap_refused*/) override {
    if (!AllSocketsAreClosed()) return Broken("sockets are left open");
    const std::string complaint = ComplaintOfAnswer();
    if (!complaint.empty()) return Broken(complaint + ": " + told_);
    const std::vector<std::string> sent = Sent();
    if (sent.size() > requests_.size()) return Broken("sent once more than asked");
    for (size_t i = 0; i < sent.size(); ++i) {
      if (!requests_[i].starts_with(sent[i])) return Broken("sent: " + sent[i]);
    }
    return {};
  }

 protected:
  // The program's part; what it is told goes through Tell().
  virtual void Exchange() = 0;

  // What is wrong with what the program was told; empty for nothing.
  virtual std::string ComplaintOfAnswer() const = 0;

  void Tell(int32_t result) { told_ += std::to_string(result) + " "; }

  // False, as the program sees it, if there is no proxy afterwards.
  bool SetProxy() {
    fnQNStack_Http_SetProxy("gw", 8080);
    return fnQNStack_Have_Proxy() == 1;
  }

  NetworkFaults network_{NetworkFaults::Mode::kOffline};
  std::vector<std::string> requests_;  // on each connection, whole

 private:
  // The bytes that went out on each socket that sent any.
  std::vector<std::string> Sent() const {
    std::map<int, std::string> by_socket;
    for (const PlatformCall &call : network_.Calls()) {
      if (call.name == "send" && call.result > 0) by_socket[call.fd] += call.text;
    }
    std::vector<std::string> sent;
    for (const auto &[fd, bytes] : by_socket) sent.push_back(bytes);
    return sent;
  }

  bool AllSocketsAreClosed() const {
    std::map<int64_t, int> open;
    for (const PlatformCall &call : network_.Calls()) {
      if (call.name == "socket" && call.result >= 0) ++open[call.result];
      if (call.name == "close") --open[call.fd];
    }
    return std::all_of(open.begin(), open.end(), [](const auto &it) { return it.second == 0; });
  }

  std::string told_;
};

// One context, read to its end.
class ReadScenario : public NetworkScenario {
 public:
  bool Done() const override {
    return result_ == 0 && status_ == 200 && static_cast<int32_t>(body_.size()) == length_;
  }

 protected:
  void Read(const Context &ctx) {
    char room[1024];
    for (int calls = 0; ctx != nullptr && calls < kMostCalls; ++calls) {
      result_ = fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room);
      Tell(result_);
      if (result_ > 0) body_.append(room, static_cast<size_t>(result_));
      if (result_ == 0 || result_ == -1) break;
    }
    if (ctx == nullptr) return;
    status_ = ctx->retValue;
    length_ = ctx->retCtxLen;
    Tell(ctx->state);
    Tell(ctx->tryCount);
    Tell(status_);
    Tell(length_);
  }

  std::string ComplaintOfAnswer() const override {
    if (result_ != 0 && result_ != -1) return "the exchange never ended";
    if (!expected_.starts_with(body_)) return "the body is not the beginning of the sent one";
    return Done() && body_ != expected_ ? "a cut body passes for a whole one" : "";
  }

  std::string expected_;  // the body

 private:
  int32_t result_ = -1;
  int32_t status_ = 0;
  int32_t length_ = 0;
  std::string body_;
};

// A GET that is redirected and takes a cookie along.
class Get : public ReadScenario {
 public:
  void Prepare() override {
    NetworkScenario::Prepare();
    // More than fits the buffer, so that it grows.
    expected_ = Letters(5000);
    network_.AddPeer({Deliver("HTTP/1.0 302 Found\r\nSet-Cookie: sid=42; Path=/\r\n"
                              "Location: http://mmsc.test/there\r\n\r\n"),
                      Give(0)});
    network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n"
                              "Content-Length: 5000\r\n\r\n" +
                              expected_.substr(0, 1500)),
                      Deliver(expected_.substr(1500)), Give(0)});
    const std::string handset = std::string("Host: mmsc.test:80\r\n") + kHandsetHeaders;
    requests_ = {"GET /here HTTP/1.0\r\n" + handset + "\r\n",
                 "GET /there HTTP/1.0\r\n" + handset + "Cookie: sid=42\r\nCookie2: \"1\"\r\n\r\n"};
  }

 private:
  void Exchange() override { Read(Context(fnQNStack_Http_Open_Get("http://mmsc.test/here"))); }
};

// A POST through a proxy, with a cookie, of a body that is sent in several
// pieces.
class Post : public ReadScenario {
 public:
  void Prepare() override {
    NetworkScenario::Prepare();
    expected_ = "taken";
    network_.AddPeer(
        {Deliver("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nta"), Deliver("ken"), Give(0)});
    requests_ = {std::string("POST http://mmsc.test/mms HTTP/1.0\r\nHost: mmsc.test:80\r\n") +
                 kHandsetHeaders +
                 "Content-Type: application/vnd.wap.mms-message\r\nContent-Length: 5000\r\n"
                 "Cookie: sid=42\r\nCookie2: \"1\"\r\n\r\n" +
                 message_};
  }

 private:
  void Exchange() override {
    if (!SetProxy()) return;
    fnQNStack_Http_Cookie_Set("sid", "42", "mmsc.test", "/");
    Read(Context(fnQNStack_Http_Open_Post("http://mmsc.test/mms", message_.data(),
                                          static_cast<int32_t>(message_.size()),
                                          "application/vnd.wap.mms-message")));
  }

  const std::string message_ = Letters(5000);
};

constexpr std::string_view kGrant = "HTTP/1.1 200 OK\r\n\r\n";

// A tunnel that is set up as its interface wants it, then carries bytes both
// ways.
class Tunnel : public NetworkScenario {
 public:
  void Prepare() override {
    NetworkScenario::Prepare();
    network_.AddPeer({Deliver(std::string(kGrant) + "po"), Deliver("ng"), Give(0)});
    Expect();
  }

  bool Done() const override { return received_ == std::string(kGrant) + "pong"; }

 protected:
  void Expect() {
    requests_ = {"CONNECT mmsc.test:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\nping"};
  }

  std::string ComplaintOfAnswer() const override {
    return (std::string(kGrant) + "pong").starts_with(received_) ? "" : "received " + received_;
  }

  // The request is sent when the buffer is empty; a further step would wait
  // for data and not end before some comes.
  static bool SendRequest(const Context &ctx) {
    int32_t result = -2;
    while (result == -2 &&
           (ctx->state < QN_HTTP_SENDING || ctx->sendBuf->cursor < ctx->sendBuf->length)) {
      result = fnQNStack_Http_Run(ctx.get());
    }
    return result == -2;
  }

  // Receives a text, or what comes of it.
  void Receive(const Context &ctx, size_t length) {
    char room[64];
    int32_t result = 1;
    while (result > 0 && received_.size() < length) {
      const auto capacity = static_cast<int32_t>(length - received_.size());
      result = fnQNStack_Http_Socket_Recvata(ctx.get(), room, capacity);
      Tell(result);
      if (result > 0) received_.append(room, static_cast<size_t>(result));
    }
  }

  // Exchanges a word each way.
  void Talk(const Context &ctx) {
    const int32_t sent = fnQNStack_Http_Socket_SendData(ctx.get(), "ping", 4);
    Tell(sent);
    if (sent == 4) Receive(ctx, kGrant.size() + 4);
  }

  void Exchange() override {
    if (!SetProxy()) return;
    const Context ctx(fnQNStack_Http_Open_Connect("mmsc.test", 443));
    if (ctx == nullptr) return;
    const bool sent = SendRequest(ctx);
    Tell(ctx->state);
    if (!sent) return;
    AwaitGrant(ctx);
    if (received_ == kGrant) Talk(ctx);
  }

  virtual void AwaitGrant(const Context &ctx) { Receive(ctx, kGrant.size()); }

  std::string received_;
};

// The same by the step that waits for data: when receiving goes on to fail it
// waits on, so there the failures have an end.
class WaitingTunnel : public Tunnel {
 public:
  void Prepare() override {
    NetworkScenario::Prepare();
    network_.AddPeer({Deliver(std::string(kGrant)), Deliver("pong"), Give(0)});
    Expect();
  }

 private:
  void AwaitGrant(const Context &ctx) override {
    char room[64];
    const int32_t taken = fnQNStack_Http_ReadRecvData(ctx.get(), room, sizeof room);
    Tell(taken);
    if (taken > 0) received_.assign(room, static_cast<size_t>(taken));
  }
};

}  // namespace

std::vector<ScenarioKind> NetworkScenarios() {
  return {
      {.name = "GET with redirect and cookie", .make = std::make_unique<Get>},
      {.name = "POST through a proxy", .make = std::make_unique<Post>},
      {.name = "tunnel", .make = std::make_unique<Tunnel>},
      {.name = "tunnel by the waiting step",
       .make = std::make_unique<WaitingTunnel>,
       .most_failed_receives = 5},
  };
}

}  // namespace qntest
