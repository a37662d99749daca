// SPDX-License-Identifier: MIT
#include "answer_record.h"

#include <algorithm>
#include <ctime>

namespace qnget {
namespace {

constexpr size_t kTooLarge = 1048576;  // bytes of a body; the library keeps less
constexpr size_t kLongestType = 1000;

int64_t Now() { return time(nullptr); }

bool SetsCookie(const AnswerHead &head) {
  return head.First("Set-Cookie").has_value() || head.First("Set-Cookie2").has_value();
}

}  // namespace

// Cookies outlive a try.
void AnswerRecord::Start() {
  const bool cookie_set = cookie_set_;
  *this = AnswerRecord();
  cookie_set_ = cookie_set;
  asked_ = Now();
}

void AnswerRecord::TakeHead(const AnswerHead &head) {
  if (head.status >= 100 && head.status < 200) return;
  const int64_t now = Now();
  heads_.push_back({head, asked_, now});
  asked_ = now;
  cookie_sent_ = cookie_sent_ || cookie_set_;
  cookie_set_ = cookie_set_ || SetsCookie(head);
}

void AnswerRecord::TakeBody(std::string_view bytes) {
  fits_ = fits_ && body_.size() + bytes.size() < kTooLarge;
  if (fits_) {
    body_ += bytes;
  } else {
    body_ = std::string();
  }
}

Freshness AnswerRecord::Lifetime() const {
  if (heads_.empty()) return {.why_not = "no answer came"};
  const Freshness freshness = FreshnessOverRedirects(heads_);
  std::string obstacle = freshness.MayBeKept() ? Obstacle(freshness.until) : freshness.why_not;
  return obstacle.empty() ? freshness : Freshness{.why_not = std::move(obstacle)};
}

// What else stands against keeping it; empty if nothing does.
std::string AnswerRecord::Obstacle(int64_t until) const {
  if (!complete_) return "it is not known to be whole";
  if (!fits_) return "it has 1 MiB or more";
  if (Now() >= until) return kStale;
  const std::vector<std::string> varying = Varying();
  const bool by_cookie = std::any_of(varying.begin(), varying.end(), [](const std::string &name) {
    return EqualIgnoringCase(name, "Cookie");
  });
  // The cookies of servers are not there any more when the next call begins.
  return by_cookie && cookie_sent_ ? "Vary: Cookie, and a cookie was sent" : "";
}

std::vector<std::string> AnswerRecord::Varying() const {
  std::vector<std::string> all;
  for (const ReceivedHead &answer : heads_) {
    for (std::string &name : answer.head.Members("Vary")) all.push_back(std::move(name));
  }
  return all;
}

std::string AnswerRecord::Type() const {
  const std::string type =
      heads_.empty() ? "" : heads_.back().head.First("Content-Type").value_or("");
  const std::string_view plain = Trimmed(std::string_view(type).substr(0, type.find(';')));
  return plain.size() <= kLongestType ? std::string(plain) : "";
}

int64_t AnswerRecord::Came() const { return heads_.empty() ? 0 : heads_.back().came; }

}  // namespace qnget
