// SPDX-License-Identifier: MIT
// The library's own receiving would take a broken connection for the end of the
// answer, and would wait for that end behind a complete body.
#include "exchange.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netdb.h>
#include <string.h>

#include "show.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr size_t kChunk = 32768;
constexpr std::string_view kHeaderEnd = "\r\n\r\n";
constexpr const char *kNoMemory = "out of memory";

// Sets the library's proxy for the next request, and gives it.
std::optional<Proxy> UseProxy(const Options &options, const Url &url) {
  std::optional<Proxy> proxy = ProxyFor(options, url.host, url.port);
  fnQNStack_Http_SetProxy(proxy ? proxy->host.c_str() : nullptr, proxy ? proxy->port : 0);
  return proxy;
}

// A PUT gets its body later: with one the library would send a line that servers
// refuse, " Expect: 100-Continue".
QNHttpCtx *OpenContext(const Options &options, const Request &request, std::string_view body) {
  const std::string url = request.url.Text();
  const char *type = options.content_type ? options.content_type->c_str() : nullptr;
  const auto length = static_cast<int32_t>(body.size());
  if (request.method == "HEAD") return fnQNStack_Http_Open_Head(url.c_str());
  if (request.method == "POST") {
    return fnQNStack_Http_Open_Post(url.c_str(), body.data(), length, type);
  }
  if (request.method == "PUT") return fnQNStack_Http_Open_Put(url.c_str(), nullptr, 0, type);
  return fnQNStack_Http_Open_Get(url.c_str());
}

bool MayHaveBody(const Request &request) {
  return request.method == "POST" || request.method == "PUT";
}

// The fields of a body that the library does not write: it has none for an empty
// one, though servers want to be told (RFC 9110, section 8.6), and a PUT gets its
// body later.
std::vector<HeaderField> FieldsOfBody(const Request &request, const char *type, size_t length) {
  std::vector<HeaderField> fields;
  const bool by_library = request.method == "POST" && length > 0;
  if (!MayHaveBody(request) || by_library) return fields;
  if (request.with_body && type != nullptr) fields.push_back({"Content-Type", type});
  fields.push_back({"Content-Length", std::to_string(length)});
  return fields;
}

// The library's lines end with CR LF alone.
std::string WithFullLineEnds(const std::string &text) {
  std::string full;
  for (const char c : text) {
    if (c == '\n' && !full.ends_with('\r')) full += '\r';
    full += c;
  }
  return full;
}

// After these the peer may have said why it takes no more.
bool IsThePeersDoing(int error) { return error == EPIPE || error == ECONNRESET; }

}  // namespace

Exchange::Exchange(const Options &options, const Request &request, std::vector<HeaderField> fields,
                   const std::string &body)
    : options_(options),
      hop_(UseProxy(options, request.url), request.url),
      body_(request.with_body ? body : std::string_view()),
      ctx_(OpenContext(options, request, body_)),
      chunk_(kChunk) {
  if (ctx_ == nullptr) throw Failure(kNotConnected, kNoMemory);
  if (request.method == "PUT") unfed_ = body_;
  for (HeaderField &field : FieldsOfBody(request, ctx_->contentType, body_.size())) {
    fields.push_back(std::move(field));
  }
  WriteHeaderTable(fields);
}

void Exchange::Send(Progress &progress) {
  SetLastWords(hop_.Doing(Step::kResolving));
  h_errno = 0;
  bool composed = false;
  while (!IsBufferSent()) {
    const int32_t result = fnQNStack_Http_Run(ctx_.get());
    const ResolverError error{h_errno, fnQN_Stack_SocketError()};
    CheckDeadline(hop_.Doing(CurrentStep()));
    if (!composed && IsConnected()) TakeComposed();
    composed = true;
    SayProgress(progress);
    if (result == -1) return TakeSendFailure(error);
    if (IsBufferSent()) FeedBody();
  }
}

// Driven any further, the library would begin to receive.
bool Exchange::IsBufferSent() const {
  return ctx_->state == QN_HTTP_SENDING && ctx_->sendBuf->cursor == ctx_->sendBuf->length;
}

// What the library has of the body stands last in its buffer.
void Exchange::SayProgress(Progress &progress) const {
  const size_t fed = body_.size() - unfed_.size();
  const size_t unsent = ctx_->sendBuf->length - ctx_->sendBuf->cursor;
  if (!IsConnected() || fed <= unsent) return;
  progress.Upload(static_cast<int64_t>(fed - unsent), static_cast<int64_t>(body_.size()));
}

void Exchange::FeedBody() {
  const std::string_view piece = unfed_.substr(0, kChunk);
  if (piece.empty()) return;
  fnQN_MemBuffer_Write(ctx_->sendBuf, piece.data(), static_cast<int32_t>(piece.size()));
  if (IsBufferSent()) throw Failure(kNotConnected, kNoMemory);
  unfed_.remove_prefix(piece.size());
}

// A refused connection shows in the library as a failed sending; the socket slot,
// which a failed context keeps, tells the two apart.
bool Exchange::IsConnected() const {
  return ctx_->socket > 0 && ctx_->socket < QN_SOCKET_SLOTS &&
         socket_list[ctx_->socket].connState == 1;
}

Step Exchange::CurrentStep() const {
  switch (ctx_->state) {
    case QN_HTTP_NEW:
    case QN_HTTP_RESOLVE_FAILED:
      return Step::kResolving;
    case QN_HTTP_RESOLVED:
    case QN_HTTP_CONNECT_FAILED:
      return Step::kConnecting;
    default:
      return IsConnected() ? Step::kSending : Step::kConnecting;
  }
}

// The buffer still has what has gone out of it: only a write drops that. A body
// that the library had no memory for is not in it.
void Exchange::TakeComposed() const {
  const std::string_view request(ctx_->sendBuf->data, ctx_->sendBuf->length);
  if (static_cast<int64_t>(request.size()) < ctx_->contentLen) {
    throw Failure(kNotConnected, kNoMemory);
  }
  if (!options_.verbose) return;
  char address[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &socket_list[ctx_->socket].addr, address, sizeof address);
  ShowNote("connected to " + hop_.Address() + " at " + address);
  ShowLines('>', request.substr(0, request.find(kHeaderEnd) + kHeaderEnd.size()));
}

void Exchange::TakeSendFailure(const ResolverError &error) {
  const Step step = CurrentStep();
  if (step == Step::kResolving) throw hop_.NotResolved(error);
  if (step == Step::kConnecting) throw hop_.NotConnected(error.system);
  const Failure failure = hop_.NotSent(error.system);
  if (IsThePeersDoing(error.system) && !Unread().empty()) {
    Say(failure.what() + std::string("; it had answered already"));
    return;
  }
  throw failure;
}

std::string_view &Exchange::Unread() {
  if (unread_.empty() && !ended_) Receive();
  return unread_;
}

void Exchange::Receive() {
  const auto room = static_cast<int32_t>(chunk_.size());
  const bool first = unread_.data() == nullptr;
  if (first) SetLastWords(hop_.Doing(Step::kReceiving));
  for (;;) {
    const int32_t count = fnQNStack_Http_Socket_Recvata(ctx_.get(), chunk_.data(), room);
    const int error = fnQN_Stack_SocketError();
    CheckDeadline(hop_.Doing(Step::kReceiving));
    if (count < 0 && error == EINTR) continue;
    if (count > 0) {
      unread_ = {chunk_.data(), static_cast<size_t>(count)};
    } else {
      ended_ = true;
      if (count < 0) broken_by_ = strerror(error);
    }
    return;
  }
}

void Exchange::KeepCookies(const std::string &head) {
  const std::string text = WithFullLineEnds(head);
  fnQN_MemBuffer_Write(ctx_->recvBuf, text.data(), static_cast<int32_t>(text.size()));
  fnQNStack_Http_ParseAnswer(ctx_.get());
}

}  // namespace qnget
