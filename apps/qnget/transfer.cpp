// The library keeps the last answer's length and status over a redirect and
// takes any end of a connection for the end of the answer, so both fields are
// reset here at each hop, and what has come is compared with what was said.
#include "transfer.h"

#include <string_view>

#include "info.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr size_t kChunk = 32768;
constexpr int32_t kMostRedirects = 10;
constexpr int32_t kNoContent = 204;
constexpr uint32_t kPause = 20480;  // unread bytes above which the library receives no more
constexpr int32_t kUnknown = -1;
constexpr const char *kBadPort = "the port is not from 1 to 65535";

QNHttpCtx *OpenContext(const Options &options, const std::string &body) {
  const char *url = options.url.c_str();
  const char *type = options.content_type ? options.content_type->c_str() : nullptr;
  const auto length = static_cast<int32_t>(body.size());
  if (options.method == "HEAD") return fnQNStack_Http_Open_Head(url);
  if (options.method == "POST") return fnQNStack_Http_Open_Post(url, body.data(), length, type);
  if (options.method == "PUT") return fnQNStack_Http_Open_Put(url, body.data(), length, type);
  return fnQNStack_Http_Open_Get(url);
}

bool IsPort(int32_t port) { return port >= 1 && port <= 65535; }

// True if the last line taken off the answer was empty: the header came to its end.
bool TookEmptyLine(const QNMemBuffer &buffer) {
  const std::string_view taken(buffer.data, buffer.cursor);
  return taken == "\r\n" || taken.ends_with("\r\n\r\n");
}

// How many bytes of the answer have been taken off its buffer since that was empty.
uint32_t TakenOff(const QNMemBuffer &buffer) {
  return buffer.total - (buffer.length - buffer.cursor);
}

// The answer's media type; empty if it is not known.
std::string TypeOf(const QNHttpCtx &ctx) {
  std::string type = ctx.retCtxType == nullptr ? "" : ctx.retCtxType;
  if (type.ends_with(';')) type.pop_back();
  return type;
}

const char *EncodingText(const QNHttpCtx &ctx) {
  if (ctx.retEncoding == 0) return "none";
  return ctx.retEncoding < 0 ? "gzip" : "other";
}

}  // namespace

Stack::Stack(const Options &options) {
  if (fnQNStack_Http_InitStack() != 0) throw Failure(kNotConnected, "no sockets to be had");
  if (options.proxy) fnQNStack_Http_SetProxy(options.proxy->host.c_str(), options.proxy->port);
  for (const auto &[name, value] : options.headers) {
    fnQNStack_Http_Head_Write(name.c_str(), value.c_str());
  }
}

Stack::~Stack() {
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(nullptr, 0);
}

Transfer::Transfer(const Options &options, const std::string &body, AnswerRecord *record)
    : options_(options),
      record_(record),
      hop_(options.proxy),
      ctx_(OpenContext(options, body)),
      url_(options.url),
      chunk_(kChunk) {
  if (ctx_ == nullptr) throw Failure(kNotConnected, "out of memory");
  if (!IsPort(ctx_->port)) throw Failure(kUsage, std::string("URL: ") + kBadPort);
  ctx_->retCtxLen = kUnknown;
  SetLastWords(hop_.Doing(*ctx_));
}

int Transfer::Run(Output &output, Progress &progress) {
  if (options_.raw) {
    ReadRaw(output, progress);
    return 0;
  }
  ReadHead();
  if (options_.info) PrintInfo();
  if (options_.method != "HEAD") ReadBody(output, progress);
  if (record_ != nullptr) RecordEnd();
  return ctx_->retValue;
}

// Asks for no body bytes yet, so that nothing of a header can get lost among them.
void Transfer::ReadHead() {
  if (record_ != nullptr) record_->Start();
  do {
    while (ctx_->headParsed == 0) ReadHeaderLines();
  } while (StepOverInterimAnswer());
  CheckHead();
}

// The lines that a call takes off the buffer stay before its cursor until the
// next call, unless the call began another answer.
void Transfer::ReadHeaderLines() {
  const QNMemBuffer &buffer = *ctx_->recvBuf;
  if (record_ != nullptr) ReceiveAhead();
  const std::string unread(buffer.data + buffer.cursor, buffer.length - buffer.cursor);
  const uint32_t before = TakenOff(buffer);
  const int32_t redirects = ctx_->redirectCount;
  const int32_t result = fnQNStack_Http_ReadRecvContext(ctx_.get(), chunk_.data(), 0);
  const bool whole = ctx_->headParsed != 0 || ctx_->redirectCount != redirects;
  head_ += whole ? unread.substr(0, unread.find("\r\n\r\n"))
                 : unread.substr(0, TakenOff(buffer) - before);
  if (whole) RecordHead();
  StepTo(result);
}

// As much of a header as the library takes in before it reads it.
void Transfer::ReceiveAhead() {
  const QNMemBuffer &buffer = *ctx_->recvBuf;
  while (fnQNStack_Http_Run(ctx_.get()) == -2 && buffer.length - buffer.cursor <= kPause) {
    CheckTime();
  }
}

void Transfer::RecordHead() {
  if (record_ != nullptr) record_->TakeHead(ReadAnswerHead(head_));
  head_.clear();
}

void Transfer::StepTo(int32_t result) {
  CheckTime();
  if (ctx_->retValue != 0) status_came_ = true;
  if (ctx_->redirectCount != redirects_) {
    NoteRedirect();
  } else if (result == -1) {
    Fail();
  }
}

void Transfer::NoteRedirect() {
  redirects_ = ctx_->redirectCount;
  url_ = ctx_->url == nullptr ? "" : ctx_->url;
  if (redirects_ > kMostRedirects) {
    throw Failure(kTooManyRedirects, "more than 10 redirects, the last to " + url_);
  }
  RefuseUnusableRedirect();
  ctx_->retCtxLen = kUnknown;
  ctx_->retValue = 0;
  SetLastWords(hop_.Doing(*ctx_));
}

void Transfer::RefuseUnusableRedirect() const {
  const std::string problem = IsPort(ctx_->port) ? ProblemOfUrl(url_) : kBadPort;
  if (problem.empty()) return;
  const bool nameless = ctx_->hostname == nullptr || *ctx_->hostname == '\0';
  throw Failure(nameless ? kNotResolved : kNotConnected,
                "redirected to a URL that cannot be followed: " + problem);
}

// "100 Continue" and its kin come before the answer that counts.
bool Transfer::StepOverInterimAnswer() {
  if (ctx_->retValue < 100 || ctx_->retValue >= 200) return false;
  ctx_->headParsed = 0;
  ctx_->retCtxLen = kUnknown;
  ctx_->retValue = 0;
  return true;
}

void Transfer::CheckHead() const {
  if (ctx_->recvBuf->total == 0) FailReceiving("no answer from " + hop_.Address(*ctx_));
  if (ctx_->retValue == 0) {
    FailReceiving("no status line in the answer from " + hop_.Address(*ctx_));
  }
  if (ctx_->state == QN_HTTP_COMPLETE && !TookEmptyLine(*ctx_->recvBuf)) {
    FailReceiving("the answer from " + hop_.Address(*ctx_) + " ends within its header");
  }
}

void Transfer::PrintInfo() const {
  AnswerInfo info;
  info.url = url_;
  if (!options_.raw) {
    const std::string type = TypeOf(*ctx_);
    info.status = std::to_string(ctx_->retValue);
    if (!type.empty()) info.type = type;
    if (ctx_->retCtxLen >= 0) info.length = std::to_string(ctx_->retCtxLen);
    info.encoding = EncodingText(*ctx_);
  }
  qnget::PrintInfo(info);
}

void Transfer::ReadBody(Output &output, Progress &progress) {
  const int64_t expected = ctx_->retValue == kNoContent ? kUnknown : ctx_->retCtxLen;
  progress.Start(expected);
  Deliver(fnQNStack_Http_ReadRecvContext, output, progress);
  if (received_ < expected) {
    FailReceiving("the answer from " + hop_.Address(*ctx_) + " ends after " +
                  std::to_string(received_) + " of " + std::to_string(expected) + " bytes");
  }
}

void Transfer::ReadRaw(Output &output, Progress &progress) {
  progress.Start(kUnknown);
  Deliver(fnQNStack_Http_ReadRecvData, output, progress);
  if (received_ == 0) FailReceiving("no answer from " + hop_.Address(*ctx_));
  if (options_.info) PrintInfo();
}

// A context whose connection broke has lost its socket; what came before that
// need not be all.
void Transfer::RecordEnd() {
  if (ctx_->socket > 0) record_->Complete();
}

void Transfer::Deliver(ReadFunction read, Output &output, Progress &progress) {
  const auto room = static_cast<int32_t>(chunk_.size());
  for (;;) {
    const int32_t count = read(ctx_.get(), chunk_.data(), room);
    CheckTime();
    if (count == 0) break;
    if (count == -1) Fail();
    if (count < 0) continue;
    const std::string_view bytes(chunk_.data(), static_cast<size_t>(count));
    output.Write(bytes);
    if (record_ != nullptr) record_->TakeBody(bytes);
    received_ += count;
    progress.Update(received_);
  }
  progress.Finish();
}

void Transfer::CheckTime() const { CheckDeadline(hop_.Doing(*ctx_)); }

void Transfer::Fail() const { throw hop_.FailureOf(*ctx_, !status_came_ && received_ == 0); }

void Transfer::FailReceiving(const std::string &message) const {
  throw Failure(kNotReceived, message, !status_came_ && received_ == 0);
}

}  // namespace qnget
