// SPDX-License-Identifier: MIT
// The programs' paths come from the build.
#include "qnget_program.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <random>

namespace qntest {
namespace {

std::vector<std::string> Command(const char *program, const std::vector<std::string> &arguments) {
  std::vector<std::string> command{program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

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

}  // namespace

std::vector<std::string> QngetCommand(const std::vector<std::string> &arguments) {
  return Command(QNGET_PROGRAM, arguments);
}

std::vector<std::string> SlowResolverCommand(const std::vector<std::string> &arguments) {
  return Command(QNGET_SLOW_RESOLVER_PROGRAM, arguments);
}

std::vector<std::string> FailingResolverCommand(const std::vector<std::string> &arguments) {
  return Command(QNGET_FAILING_RESOLVER_PROGRAM, arguments);
}

std::vector<std::string> RefusedCallCommand(const std::vector<std::string> &arguments) {
  return Command(QNGET_REFUSED_CALLS_PROGRAM, arguments);
}

ProcessResult RunQnget(const std::vector<std::string> &arguments, const ProcessOptions &options) {
  return RunProgram(QngetCommand(arguments), options);
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

std::string ScatteredBytes(std::size_t count) {
  std::mt19937 generator(20021);
  std::string bytes(count, '\0');
  for (char &byte : bytes) byte = static_cast<char>(generator() & 0xff);
  return bytes;
}

}  // namespace qntest
