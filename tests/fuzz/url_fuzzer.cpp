// SPDX-License-Identifier: MIT
// URLs through the open functions, and the request that is composed of them,
// against a plain splitter and a plain composer.
//
// Input: from the end backwards, method, proxy, headers and body; the texts
// (URL, media type, proxy, header values) come from the front, each ended by a
// backslash and another character.

#include <algorithm>
#include <optional>
#include <string>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qn_stack_http_open_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/http_date_reference.h"
#include "support/http_stack.h"

namespace {

using namespace qntest;

constexpr std::size_t kLongestText = 5000;
constexpr const char *kSentHeaders[] = {"Accept", "User-Agent", "Profile", "Accept-Language"};

// A piece that goes through the formatter is cut.
std::string Cut(const std::string &text) { return text.substr(0, 2047); }

std::string NextText(FuzzedDataProvider *input) {
  return input->ConsumeRandomLengthString(kLongestText).c_str();
}

struct Target {
  std::string host;
  int32_t port = 80;
  std::string path = "/";
};

Target Split(const std::string &url) {
  const std::size_t scheme = url.find("://");
  const std::string rest = scheme == std::string::npos ? url : url.substr(scheme + 3);
  const std::size_t host_end = std::min(rest.find_first_of(":/?"), rest.size());
  Target target = {rest.substr(0, host_end)};
  std::string path = rest.substr(host_end);
  if (path.starts_with(':')) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    target.port = qntest::PlainNumber(path.substr(1, slash - 1).c_str()).value_or(80);
    path = path.substr(slash);
  }
  if (!path.empty()) target.path = path;
  return target;
}

// A line end would begin a further line of the request, which is not sent then.
bool FitsLine(const std::string &text) { return text.find_first_of("\r\n") == std::string::npos; }

struct Request {
  std::string method;
  std::string url;
  std::optional<std::string> type;
  std::string body;
};

Request NextRequest(FuzzedDataProvider *input) {
  static constexpr const char *kMethods[] = {"GET", "HEAD", "POST", "PUT"};
  Request request = {input->PickValueInArray(kMethods), "", std::nullopt, ""};
  const bool typed = input->ConsumeBool();
  request.body = std::string(input->ConsumeIntegralInRange<std::size_t>(0, 255), '\xB0');
  request.url = NextText(input);
  if (typed) request.type = NextText(input);
  return request;
}

Context Opened(const Request &request, const qntest::Exact<char> &body) {
  const ExactText url(request.url);
  const char *type = request.type ? request.type->c_str() : nullptr;
  if (request.method == "GET") return Context(fnQNStack_Http_Open_Get(url.get()));
  if (request.method == "HEAD") return Context(fnQNStack_Http_Open_Head(url.get()));
  const auto open = request.method == "POST" ? fnQNStack_Http_Open_Post : fnQNStack_Http_Open_Put;
  return Context(open(url.get(), body.get(), body.length(), type));
}

std::string RequestLine(const Request &request, const Target &target, bool proxy) {
  if (!proxy) return Cut(request.method + " " + target.path);
  const std::string port = target.port == 80 ? "" : ":" + std::to_string(target.port);
  return Cut(request.method + " http://" + target.host + port + target.path);
}

std::string Composed(const Request &request, const Target &target, bool proxy) {
  std::string text = RequestLine(request, target, proxy) + " HTTP/1.0\r\n" +
                     Cut("Host: " + target.host + ":" + std::to_string(target.port) + "\r\n");
  for (const char *name : kSentHeaders) {
    const char *value = fnQNStack_Http_Head_Read(name);
    if (value != nullptr) text += std::string(name) + ": " + value + "\r\n";
  }
  const bool has_body =
      !request.body.empty() && (request.method == "POST" || request.method == "PUT");
  if (has_body) {
    const std::string type = request.type.value_or("application/x-www-form-urlencoded");
    text += Cut("Content-Type: " + type + "\r\n");
    if (request.method == "PUT") text += " Expect: 100-Continue\r\n";
    text += "Content-Length: " + std::to_string(request.body.size()) + "\r\n";
  }
  if (target.host == "cookie.test") text += "Cookie: sid=1\r\nCookie2: \"1\"\r\n";
  return text + "\r\n" + (has_body ? request.body : "");
}

void WriteHeaders(FuzzedDataProvider *input) {
  for (int left = input->ConsumeIntegralInRange(0, 3); left > 0; --left) {
    const bool sent = input->ConsumeBool();
    const std::string name = sent ? input->PickValueInArray(kSentHeaders) : NextText(input);
    const std::string value = NextText(input);
    fnQNStack_Http_Head_Write(name.c_str(), value.c_str());
    EXPECT_EQ(std::string(fnQNStack_Http_Head_Read(name.c_str())), value);
  }
}

// Starts the context anew at the place where it is, as a redirect does.
void ExpectSplitsAgain(QNHttpCtx *ctx, const Target &target) {
  fnQN_Free(&ctx->hostname);
  fnQN_Free(&ctx->path);
  EXPECT_EQ(qn::ParseUrl(ctx, ctx->url), 0);
  EXPECT_EQ(ctx->hostname, target.host);
  EXPECT_EQ(ctx->path, target.path);
  EXPECT_EQ(ctx->port, target.port);
}

void TryRequest(const Request &request, bool proxy) {
  const qntest::Exact<char> body = qntest::ExactCopy(request.body);
  const Context ctx = Opened(request, body);
  ASSERT_NE(ctx, nullptr);
  const Target target = Split(request.url);
  EXPECT_EQ(ctx->url, request.url);
  EXPECT_EQ(ctx->hostname, target.host);
  EXPECT_EQ(ctx->port, target.port);
  EXPECT_EQ(ctx->path, target.path);
  EXPECT_EQ(ctx->method, request.method);

  const bool sent = FitsLine(target.host + target.path);
  EXPECT_EQ(fnQNStack_Http_PrepareQuest(ctx.get()), sent ? 0 : -1);
  EXPECT_EQ(qntest::UnreadOf(ctx->sendBuf), sent ? Composed(request, target, proxy) : "");
  ExpectSplitsAgain(ctx.get(), target);
}

void TryTunnel(FuzzedDataProvider *input, bool proxy) {
  const ExactText host(NextText(input));
  const auto port = input->ConsumeIntegral<int32_t>();
  const Context ctx(fnQNStack_Http_Open_Connect(host.get(), port));
  const bool sent = proxy && FitsLine(host.text());
  EXPECT_EQ(fnQNStack_Http_PrepareQuest_Connect(ctx.get()), sent ? 0 : -1);
  const std::string line = Cut("CONNECT " + host.text() + ":" + std::to_string(port));
  EXPECT_EQ(qntest::UnreadOf(ctx->sendBuf),
            sent ? line + " HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n" : "");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  const qntest::HttpStack stack;
  const bool tunnel = input.ConsumeIntegralInRange(0, 7) == 7;
  const Request request = tunnel ? Request() : NextRequest(&input);
  const bool proxy = input.ConsumeBool();
  if (proxy) fnQNStack_Http_SetProxy(NextText(&input).c_str(), 8080);
  EXPECT_EQ(fnQNStack_Have_Proxy(), proxy ? 1 : 0);
  WriteHeaders(&input);
  fnQNStack_Http_Cookie_Set("sid", "1", "cookie.test", "/");
  if (tunnel) {
    TryTunnel(&input, proxy);
  } else {
    TryRequest(request, proxy);
  }
  return 0;
}
