// SPDX-License-Identifier: MIT
// Sends a multimedia message to the centre and fetches another one, as a client
// does with the URL of a notification:
//
//     message SEND-URL MESSAGE-FILE FETCH-URL FILE [GATEWAY PORT]
//
// Nothing is tried twice: whoever sends a message again may have to pay twice.
#include <cstddef>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>

#include "qnstack/qnstack.hpp"

namespace {

using qnstack::Context;
using qnstack::Result;
using qnstack::State;

constexpr const char *kMessageType = "application/vnd.wap.mms-message";
constexpr std::size_t kMostBytes = std::size_t{10} * 1024 * 1024;

// Why an answer did not come whole.
const char *ReasonOf(Result result, State state) {
  if (result == Result::kCut) return "the answer was cut";
  if (result == Result::kData) return "the answer is too long";
  switch (state) {
    case State::kNone:
      return "no memory for a request";
    case State::kResolveFailed:
      return "the host has no address";
    case State::kConnectFailed:
    case State::kSendFailed:
      return "the request did not get through";
    case State::kReceiveFailed:
      return "no answer came";
    default:
      return "the exchange came to no end";
  }
}

// The body of a whole answer with a status of success; else the reason is told.
std::optional<std::string> AnswerTo(const char *task, Context context) {
  std::string body;
  const Result result = qnstack::ReadBody(context, body, kMostBytes);
  if (result != Result::kDone) {
    std::cerr << task << ": " << ReasonOf(result, qnstack::StateOf(context)) << "\n";
    return std::nullopt;
  }
  if (context->retValue < 200 || context->retValue > 299) {
    std::cerr << task << ": status " << context->retValue << "\n";
    return std::nullopt;
  }
  return body;
}

bool Send(const char *url, const char *file) {
  std::ifstream input(file, std::ios::binary);
  // The body is looked at while the answer is waited for, so it has a name.
  const std::string message(std::istreambuf_iterator<char>(input), {});
  if (!input || message.empty()) {
    std::cerr << "send: there is no message in " << file << "\n";
    return false;
  }
  return AnswerTo("send", qnstack::OpenPost(url, message, kMessageType)).has_value();
}

bool Fetch(const char *url, const char *file) {
  const std::optional<std::string> message = AnswerTo("fetch", qnstack::OpenGet(url));
  if (!message.has_value()) return false;
  std::ofstream output(file, std::ios::binary);
  if (output << *message << std::flush) return true;
  std::cerr << "fetch: cannot write " << file << "\n";
  return false;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 5 && argc != 7) {
    std::cerr << "usage: message SEND-URL MESSAGE-FILE FETCH-URL FILE [GATEWAY PORT]\n";
    return 2;
  }
  qnstack::Stack stack;
  if (!stack.IsStarted()) return 1;
  if (argc == 7 && !stack.SetProxy(argv[5], fnQN_ATOI(argv[6]))) return 1;
  return Send(argv[1], argv[2]) && Fetch(argv[3], argv[4]) ? 0 : 1;
}
