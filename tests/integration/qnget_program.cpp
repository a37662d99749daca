// SPDX-License-Identifier: MIT
// The programs' paths come from the build.
#include "qnget_program.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <ostream>
#include <random>

namespace qntest {
namespace {

// The settings and the proxy of whoever runs the tests are none of theirs.
class NoUser : public testing::Environment {
 public:
  void SetUp() override {
    setenv("XDG_CACHE_HOME", "/proc/nonexistent", 1);
    setenv("XDG_CONFIG_HOME", "/proc/nonexistent", 1);
    for (const char *variable : {"http_proxy", "no_proxy", "NO_PROXY"}) unsetenv(variable);
  }
};

[[maybe_unused]] const testing::Environment *const kNoUser =
    testing::AddGlobalTestEnvironment(new NoUser);

const char *const kAddress = "HOST:PORT";

Words AllReplaced(const Words &words, const std::string &from, const std::string &to) {
  Words all;
  for (const std::string &word : words) all.push_back(Replaced(word, from, to));
  return all;
}

}  // namespace

Words Joined(Words words, const Words &more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

Words QngetCommand(const Words &arguments) { return Joined({QNGET_PROGRAM}, arguments); }

Words SlowResolverCommand(const Words &arguments) {
  return Joined({QNGET_SLOW_RESOLVER_PROGRAM}, arguments);
}

Words FailingResolverCommand(const Words &arguments) {
  return Joined({QNGET_FAILING_RESOLVER_PROGRAM}, arguments);
}

Words RefusedCallCommand(const Words &arguments) {
  return Joined({QNGET_REFUSED_CALLS_PROGRAM}, arguments);
}

Words InShell(const std::string &line, const Words &command) {
  return Joined({"sh", "-c", line, "sh"}, command);
}

ProcessResult RunQnget(const Words &arguments, const ProcessOptions &options) {
  return RunProgram(QngetCommand(arguments), options);
}

Exchange RunOn(const std::vector<ConnectionScript> &scripts, const Words &arguments,
               ProcessOptions options) {
  ScriptedServer server(scripts, 2 * kProcessPatience);
  const std::string address = Loopback(server.port());
  options.environment = AllReplaced(options.environment, kAddress, address);
  Exchange exchange{RunQnget(AllReplaced(arguments, kAddress, address), options), {}};
  // A script that still waits may end, since nobody is there any more.
  for (std::size_t i = 0; i < scripts.size(); ++i) server.Signal();
  for (std::size_t i = 0; i < server.accepted(); ++i) {
    exchange.requests.push_back(Replaced(server.Received(i), address, kAddress));
  }
  exchange.output = Replaced(exchange.output, address, kAddress);
  exchange.error = Replaced(exchange.error, address, kAddress);
  return exchange;
}

Exchange RunOnAnswer(const std::string &answer, const Words &arguments,
                     const ProcessOptions &options) {
  return RunOn({AnswerWith(answer)}, arguments, options);
}

std::string RequestOf(const Words &arguments, const ProcessOptions &options) {
  const Exchange exchange = RunOnAnswer(Answer("x"), arguments, options);
  EXPECT_EQ(exchange.exit_code, 0) << exchange.error;
  return exchange.requests.empty() ? "no request came" : exchange.requests[0];
}

void ExpectEach(const std::vector<Call> &calls) {
  for (const Call &call : calls) {
    SCOPED_TRACE(call.name);
    const Exchange exchange = RunOn({call.script}, call.arguments);
    EXPECT_EQ(exchange.exit_code, call.exit_code);
    EXPECT_EQ(exchange.output, call.output);
    EXPECT_EQ(exchange.error, call.error);
  }
}

std::ostream &operator<<(std::ostream &out, const ProcessResult &result) {
  return out << "exit code " << result.exit_code << ", signal " << result.signal << ", output "
             << testing::PrintToString(result.output) << ", error "
             << testing::PrintToString(result.error);
}

std::string FullDevice(const ScratchFolder &folder) {
  const std::string own = folder.path("full");
  const int made = mknod(own.c_str(), S_IFCHR | 0600, makedev(1, 7));
  const int opened = made == 0 ? open(own.c_str(), O_WRONLY | O_CLOEXEC) : -1;
  if (opened < 0) return "/dev/full";
  close(opened);
  return own;
}

std::string Loopback(uint16_t port) { return "127.0.0.1:" + std::to_string(port); }

std::string LocalUrl(uint16_t port, std::string_view path) {
  return "http://" + Loopback(port) + std::string(path);
}

std::string Message(std::string_view text) { return "qnget: " + std::string(text) + "\n"; }

std::string Answer(std::string_view body, std::string_view lines, std::string_view status) {
  std::string answer = "HTTP/1.0 " + std::string(status) + "\r\n";
  answer += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  return answer.append(lines).append("\r\n").append(body);
}

std::string RedirectTo(std::string_view url, std::string_view status) {
  return Answer("elsewhere", "Location: " + std::string(url) + "\r\n", status);
}

ConnectionScript HalfABody() {
  return {ReadHeader(),  SendBytes("HTTP/1.0 200 OK\r\n\r\n" + kHalfABody),
          AwaitSignal(), SendBytes(kRest),
          HalfClose(),   ReadToEnd()};
}

std::string Replaced(std::string text, const std::string &from, const std::string &to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string ScatteredBytes(std::size_t count) {
  std::mt19937 generator(20021);
  std::string bytes(count, '\0');
  for (char &byte : bytes) byte = static_cast<char>(generator() & 0xff);
  return bytes;
}

}  // namespace qntest
