// SPDX-License-Identifier: MIT
#include "integration/peers_servers.h"

#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "integration/peers_configuration.h"
#include "support/forked_process.h"
#include "support/loopback.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;

constexpr int kStartAttempts = 3;
constexpr int kReadyPauses = 1000;  // of 5 ms each
constexpr int kReadyPauseMilliseconds = 5;
constexpr std::chrono::milliseconds kStopPatience{5000};

std::string SomeText() {
  std::string text;
  for (int line = 1; line <= 2000; ++line) {
    text += "Line " + std::to_string(line) + " of a text that shrinks well.\n";
  }
  return text;
}

}  // namespace

std::string SeededBytes(size_t size) {
  std::mt19937_64 generator(size);
  std::string bytes(size, '\0');
  for (size_t at = 0; at < size; at += sizeof(uint64_t)) {
    const uint64_t word = generator();
    std::memcpy(&bytes[at], &word, std::min(sizeof(word), size - at));
  }
  return bytes;
}

// Servers stand in folders that a user's search path may lack.
std::string Peer::Path() const {
  for (const char *folder : {"/usr/sbin/", "/usr/bin/", "/usr/local/sbin/", "/usr/local/bin/"}) {
    if (access((folder + program_).c_str(), X_OK) == 0) return folder + program_;
  }
  return "";
}

// What to write before a command that the superuser must not run. The program
// then need not change its user, which would free it from ending with us.
std::vector<std::string> Peer::ByPlainUser() const {
  if (user_ == User::kAny || geteuid() != 0) return {};
  return {"/usr/bin/setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups",
          "--pdeathsig=KILL"};
}

bool Peer::IsReachable() const {
  for (int pause = 0; pause < kReadyPauses && !HasEnded(process_->pid()); ++pause) {
    if (ConnectToLoopback(port_).get() >= 0) return true;
    poll(nullptr, 0, kReadyPauseMilliseconds);
  }
  return false;
}

std::string Peer::Start(const Command &arguments) {
  const std::string path = Path();
  if (path.empty()) return program_ + " is missing: install the Debian package " + package_;

  std::string said;
  for (int attempt = 0; attempt < kStartAttempts; ++attempt) {
    port_ = RefusingPort().port();
    std::vector<std::string> command = ByPlainUser();
    command.push_back(path);
    for (const std::string &argument : arguments(port_)) command.push_back(argument);
    process_ = std::make_unique<Process>(command);
    if (IsReachable()) return "";
    process_->SendSignal(SIGKILL);
    said = process_->wait().error;
  }
  return program_ + " does not start: " + said;
}

void Peer::Stop() {
  if (process_ == nullptr) return;
  process_->SendSignal(SIGTERM);
  process_->wait(kStopPatience);
  process_.reset();
}

Peers &Peers::Get() {
  // GoogleTest owns it.
  static Peers *peers = static_cast<Peers *>(::testing::AddGlobalTestEnvironment(new Peers));
  return *peers;
}

// Registers them before the tests begin.
[[maybe_unused]] const Peers &registered_peers = Peers::Get();

void Peers::SetUp() {
  folder_ = std::make_unique<ScratchFolder>();
  WriteFiles();
  for (const std::string &problem : {StartOrigin(), StartTinyproxy(), StartSquid()}) {
    if (!problem.empty()) FAIL() << problem;
  }
}

void Peers::TearDown() {
  squid_.Stop();
  tinyproxy_.Stop();
  origin_.Stop();
  folder_.reset();
}

std::string Peers::Url(const std::string &path) const {
  return "http://127.0.0.1:" + std::to_string(origin_port()) + path;
}

const std::string &Peers::Content(const std::string &name) const {
  for (const auto &[file, content] : files_) {
    if (file == name) return content;
  }
  throw std::runtime_error("there is no file " + name);
}

void Peers::WriteFiles() {
  files_ = {{kEmptyFile, ""},
            {kSmallFile, SeededBytes(1000)},
            {kMediumFile, SeededBytes(300 * 1000)},
            {kLargeFile, SeededBytes(5 * 1000 * 1000)},
            {kTextFile, SomeText()}};
  fs::create_directory(folder_->path("put"));
  fs::create_directory(folder_->path("files"));
  for (const auto &[name, content] : files_) folder_->write("files/" + name, content);

  // Squid's user may be another one.
  fs::create_directory(folder_->path("squid"));
  fs::permissions(folder_->path("squid"), fs::perms::all);
  fs::permissions(folder_->path(),
                  fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
}

std::string Peers::StartOrigin() {
  return origin_.Start([this](int port) -> std::vector<std::string> {
    const std::string file =
        folder_->write("nginx.conf", OriginConfiguration(folder_->path(), port));
    return {"-p", folder_->path(), "-e", "stderr", "-c", file};
  });
}

std::string Peers::StartTinyproxy() {
  return tinyproxy_.Start([this](int port) -> std::vector<std::string> {
    return {"-d", "-c",
            folder_->write("tinyproxy.conf", TinyproxyConfiguration(folder_->path(), port))};
  });
}

std::string Peers::StartSquid() {
  return squid_.Start([this](int port) -> std::vector<std::string> {
    // A name of its own keeps its shared memory apart from that of others.
    return {"-N", "-n", "peer" + std::to_string(port), "-f",
            folder_->write("squid.conf", SquidConfiguration(folder_->path(), port))};
  });
}

}  // namespace qntest
