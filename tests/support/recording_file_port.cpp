// SPDX-License-Identifier: MIT
#include "support/recording_file_port.h"

#include <algorithm>
#include <cstring>

namespace qntest {
namespace {

std::string Joined(std::initializer_list<std::string> arguments) {
  std::string text;
  for (const std::string &argument : arguments) text += text.empty() ? argument : ", " + argument;
  return text;
}

}  // namespace

RecordingFilePort &FilePort() {
  static RecordingFilePort port;
  return port;
}

void RecordingFilePort::Reset() { *this = RecordingFilePort(); }

std::vector<std::string> RecordingFilePort::Calls() const {
  std::vector<std::string> texts;
  for (const FileCall &call : log_) texts.push_back(call.Text());
  return texts;
}

int RecordingFilePort::CountOf(std::string_view function) const {
  return static_cast<int>(std::count_if(
      log_.begin(), log_.end(), [&](const FileCall &call) { return call.function == function; }));
}

void RecordingFilePort::Fail(std::string_view function, int nth) {
  failures_.push_back({std::string(function), nth, false, {.fails = true}});
}

void RecordingFilePort::FailFrom(int nth) { failures_.push_back({"", nth, true, {.fails = true}}); }

void RecordingFilePort::Tear(std::string_view function, size_t kept, int nth) {
  failures_.push_back(
      {std::string(function), nth, false, {.fails = true, .kept = kept, .torn = true}});
}

void RecordingFilePort::Answer(std::string_view function, int32_t result, int nth) {
  failures_.push_back({std::string(function), nth, false, {.answer = result}});
}

void RecordingFilePort::Report(std::string_view function, int32_t count, int nth) {
  failures_.push_back({std::string(function), nth, false, {.count = count}});
}

FileOutcome RecordingFilePort::NextOutcome(std::string_view function) {
  FileOutcome outcome;
  for (Failure &failure : failures_) {
    if (!failure.function.empty() && failure.function != function) continue;
    --failure.calls_left;
    if (failure.calls_left == 0 || (failure.stays && failure.calls_left < 0)) {
      outcome = failure.outcome;
    }
  }
  return outcome;
}

FileOutcome RecordingFilePort::Enter(std::string_view function,
                                     std::initializer_list<std::string> arguments,
                                     std::string_view data) {
  log_.push_back({std::string(function), Joined(arguments), std::string(data)});
  return NextOutcome(function);
}

char *RecordingFilePort::SetRoot(const char *path) {
  std::memset(root_, 0, sizeof root_);
  if (path != nullptr && std::strlen(path) < sizeof root_) {
    std::memcpy(root_, path, std::strlen(path));
  }
  return root_;
}

void RecordingFilePort::TellWritten(const char *name) const {
  if (callback_ != nullptr) callback_(name, QNFS_CARD_SYN_WRITE);
}

}  // namespace qntest
