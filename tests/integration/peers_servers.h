// SPDX-License-Identifier: MIT
// The peers that others wrote: nginx as the origin, tinyproxy and squid as the
// gateway. They run on loopback ports of the platform's choice, with their
// files in a scratch folder, from the first test to the last.
#ifndef QNSTACK_TESTS_INTEGRATION_PEERS_SERVERS_H
#define QNSTACK_TESTS_INTEGRATION_PEERS_SERVERS_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/scratch_folder.h"

namespace qntest {

// `size` pseudo-random bytes, the same ones for the same size.
std::string SeededBytes(size_t size);

// The files that the origin serves, by name.
inline constexpr char kEmptyFile[] = "empty";
inline constexpr char kSmallFile[] = "1k";
inline constexpr char kMediumFile[] = "300k";
inline constexpr char kLargeFile[] = "5m";
inline constexpr char kTextFile[] = "text.txt";

// One program that listens on a port.
class Peer {
 public:
  // Given the port, the words of the command that starts the program.
  using Command = std::function<std::vector<std::string>(int port)>;

  enum class User { kAny, kNotTheSuperuser };

  // `package` is the Debian package that installs `program`.
  Peer(std::string program, std::string package, User user = User::kAny)
      : program_(std::move(program)), package_(std::move(package)), user_(user) {}

  // Starts the program, on another port if someone else was quicker to take
  // the first, and waits until it can be connected to. Returns what went
  // wrong; empty if nothing did.
  std::string Start(const Command &arguments);
  // Asks it to end and waits for that.
  void Stop();

  int port() const { return port_; }

 private:
  std::string Path() const;
  std::vector<std::string> ByPlainUser() const;
  bool IsReachable() const;

  std::string program_;
  std::string package_;
  User user_;
  uint16_t port_ = 0;
  std::unique_ptr<Process> process_;
};

class Peers : public ::testing::Environment {
 public:
  // The running ones.
  static Peers &Get();

  void SetUp() override;
  void TearDown() override;

  int origin_port() const { return origin_.port(); }
  int tinyproxy_port() const { return tinyproxy_.port(); }
  int squid_port() const { return squid_.port(); }

  // The URL of a path on the origin.
  std::string Url(const std::string &path) const;
  // The content of a file that the origin serves.
  const std::string &Content(const std::string &name) const;

 private:
  void WriteFiles();
  std::string StartOrigin();
  std::string StartTinyproxy();
  std::string StartSquid();

  std::unique_ptr<ScratchFolder> folder_;
  std::vector<std::pair<std::string, std::string>> files_;
  Peer origin_{"nginx", "nginx-light"};
  Peer tinyproxy_{"tinyproxy", "tinyproxy-bin"};
  Peer squid_{"squid", "squid", Peer::User::kNotTheSuperuser};
};

}  // namespace qntest

#endif
