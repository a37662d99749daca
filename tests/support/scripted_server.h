// SPDX-License-Identifier: MIT
// A server of our own on an ephemeral loopback port that does what a script
// says, misbehaviour included, and keeps every byte it received. The n-th
// connection runs the n-th script, in a thread of its own.
#ifndef QNSTACK_TESTS_SUPPORT_SCRIPTED_SERVER_H
#define QNSTACK_TESTS_SUPPORT_SCRIPTED_SERVER_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/loopback.h"

namespace qntest {

// One thing the server does on a connection; made by the functions below.
struct Step {
  enum class Kind {
    kReadHeader,
    kReadBytes,
    kReadToEnd,
    kSend,
    kSendUntilGone,
    kAwaitSignal,
    kHalfClose,
    kCloseReading,
    kClose,
    kReset
  };
  Kind kind;
  std::size_t count = 0;              // kReadBytes: bytes; kSend: times
  std::string bytes;                  // kSend, kSendUntilGone
  std::chrono::milliseconds pause{};  // kSendUntilGone
};

Step ReadHeader();                  // up to and with the next empty line
Step ReadBytes(std::size_t count);  // so many bytes more
Step ReadToEnd();                   // until the peer has closed or reset
Step SendBytes(std::string bytes);  // one piece, handed to the kernel at once
Step SendTimes(std::string bytes, std::size_t times);
// Again and again, with a pause behind each, until the peer has closed or reset.
Step SendUntilGone(std::string bytes, std::chrono::milliseconds pause = {});
Step AwaitSignal();   // until the test calls Signal()
Step HalfClose();     // no more from this side; reading goes on
Step CloseReading();  // no more to this side; sending goes on
Step Close();
Step Reset();  // the peer sees a reset connection

// What one connection does, in order. At its end the connection is closed.
using ConnectionScript = std::vector<Step>;

// Reads a request without a body, answers, and ends the answer as a server
// does that closes; then waits for the peer, so that nothing it sends is lost.
ConnectionScript AnswerWith(std::string answer);

// The same after a request with a body of `body_bytes` bytes.
ConnectionScript AnswerBodyWith(std::size_t body_bytes, std::string answer);

class ScriptedServer {
 public:
  // Listens at once. No step waits longer than `patience`. After as many
  // connections as there are scripts, further ones are refused.
  explicit ScriptedServer(std::vector<ConnectionScript> scripts,
                          std::chrono::milliseconds patience = std::chrono::seconds(5));
  ~ScriptedServer();  // ends every script where it stands
  ScriptedServer(const ScriptedServer &) = delete;
  ScriptedServer &operator=(const ScriptedServer &) = delete;

  std::uint16_t port() const { return listener_.port(); }

  // Lets one kAwaitSignal step go on, now or when it is reached.
  void Signal();

  // Waits until every script has ended. Returns an empty string, or which
  // step of which connection went wrong and how.
  std::string Finish();

  // The bytes that a connection received; waits for the end of its script.
  std::string Received(std::size_t connection);

  // Connections accepted so far.
  std::size_t accepted();

 private:
  struct Connection {
    ConnectionScript script;
    std::string received;
    std::size_t consumed = 0;  // bytes of `received` that read steps have used
    std::string failure;
    bool ended = false;
  };

  void AcceptAll();
  void Serve(std::size_t index, int fd);
  bool RunStep(Connection &connection, const Step &step, int &fd);
  bool ReadUntil(Connection &connection, const Step &step, int fd);
  bool Send(Connection &connection, const std::string &bytes, int fd);
  bool SendUntilGone(Connection &connection, const Step &step, int fd);
  bool TakeSignal(Connection &connection);
  bool WaitFor(int fd, short events, std::string &failure);
  bool IsGoneAfter(std::chrono::milliseconds pause, int fd);
  bool WaitForEnd(std::unique_lock<std::mutex> &lock, std::size_t connections);

  const std::chrono::milliseconds patience_;
  LoopbackPort listener_;
  int stop_event_ = -1;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Connection> connections_;
  std::size_t accepted_ = 0;
  std::size_t signals_ = 0;
  bool stopping_ = false;
  std::vector<std::thread> servers_;
  std::thread acceptor_;
};

}  // namespace qntest

#endif
