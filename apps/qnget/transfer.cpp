// SPDX-License-Identifier: MIT
// Each hop has a context of its own, freed before the next is opened: a context
// that is done with may close the slot of another.
#include "transfer.h"

#include <algorithm>

#include "exchange.h"
#include "info.h"
#include "redirect.h"
#include "show.h"

namespace qnget {
namespace {

constexpr int kMostRedirects = 10;
constexpr int64_t kUnknown = -1;

int64_t ExpectedOf(const BodyFrame &frame) {
  return frame.kind == BodyFrame::Kind::kLength ? static_cast<int64_t>(frame.length) : kUnknown;
}

// Takes the bytes of an answer to where they go.
class Delivery {
 public:
  Delivery(Output &output, Progress &progress, AnswerRecord *record, int64_t expected)
      : output_(output), progress_(progress), record_(record) {
    progress_.Start(expected);
  }

  void Take(std::string_view bytes) {
    output_.Write(bytes);
    if (record_ != nullptr) record_->TakeBody(bytes);
    count_ += static_cast<int64_t>(bytes.size());
    progress_.Update(count_);
  }

 private:
  Output &output_;
  Progress &progress_;
  AnswerRecord *record_;
  int64_t count_ = 0;
};

}  // namespace

Stack::Stack() {
  if (fnQNStack_Http_InitStack() != 0) throw Failure(kNotConnected, "no sockets to be had");
}

Stack::~Stack() {
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(nullptr, 0);
}

Transfer::Transfer(const Options &options, const std::string &body, AnswerRecord *record,
                   const Retries &retries)
    : options_(options),
      body_(body),
      record_(record),
      retries_(retries),
      fields_(RequestFields(options)),
      first_(ReadUrl(options.url).url),
      request_{options.method, first_, options.data.has_value()} {}

// Behind a redirect a server has answered, whatever becomes of the next hop.
Outcome Transfer::Run(Output &output, Progress &progress) {
  if (record_ != nullptr) record_->Start();
  try {
    for (;;) {
      if (const std::optional<Outcome> outcome = RunHop(output, progress)) return *outcome;
    }
  } catch (const Failure &failure) {
    if (redirects_ == 0) throw;
    throw Failure(failure.code(), failure.what());
  }
}

// Gives nothing where the answer sends on to another hop.
std::optional<Outcome> Transfer::RunHop(Output &output, Progress &progress) {
  Exchange exchange(options_, request_, FieldsOfHop(), body_);
  exchange.Send(progress);
  Reception reception(exchange, options_.verbose);
  if (options_.raw) {
    DeliverRaw(reception, output, progress);
    return Outcome{};
  }
  const AnswerHead head = reception.ReadHead();
  if (record_ != nullptr) record_->TakeHead(head);
  if (const std::optional<Request> next = FollowingRequest(request_, head)) {
    Follow(*next, head.status);
    return {};
  }
  Outcome outcome{head.status, retries_.PauseAfter(head)};
  if (!outcome.try_again) Deliver(reception, head, output, progress);
  return outcome;
}

// What tells who the user is goes to the first server alone. A refresh asks past
// the caches on the way too.
std::vector<HeaderField> Transfer::FieldsOfHop() const {
  std::vector<HeaderField> fields = fields_;
  if (options_.refresh) fields.push_back({"Cache-Control", "no-cache"});
  if (!HaveSameServer(request_.url, first_)) DropPrivateFields(fields);
  return fields;
}

void Transfer::Follow(const Request &next, int status) {
  const std::string url = next.url.Text();
  if (++redirects_ > kMostRedirects) {
    throw Failure(kTooManyRedirects, "more than 10 redirects, the last to " + url);
  }
  const std::string number = std::to_string(status);
  if (options_.verbose) ShowNote("status " + number + " redirects to " + url);
  if (next.method != request_.method) {
    Say("redirected with status " + number + "; the " + request_.method +
        " goes on as a GET without its body");
  }
  request_ = next;
}

void Transfer::Deliver(Reception &reception, const AnswerHead &head, Output &output,
                       Progress &progress) {
  const BodyFrame frame = reception.ReadFrame(head, request_.method == "HEAD");
  if (options_.info) PrintInfo(InfoOf(head, request_.url.Text()));
  if (options_.fail && head.status >= kFirstErrorStatus) throw ErrorStatus(head.status);
  Delivery delivery(output, progress, record_, ExpectedOf(frame));
  reception.ReadBody(frame, [&](std::string_view bytes) { delivery.Take(bytes); });
  progress.Finish();
  const bool checked = frame.notice.empty();
  if (record_ != nullptr && checked) record_->Complete();
}

void Transfer::DeliverRaw(Reception &reception, Output &output, Progress &progress) const {
  Delivery delivery(output, progress, nullptr, kUnknown);
  reception.ReadRaw(request_.method == "HEAD",
                    [&](std::string_view bytes) { delivery.Take(bytes); });
  progress.Finish();
  if (!options_.info) return;
  AnswerInfo info;
  info.url = request_.url.Text();
  PrintInfo(info);
}

}  // namespace qnget
