// SPDX-License-Identifier: MIT
// Stands between the objects of a test program and the platform's network
// calls: writes every call down, and lets a test script what a call does. Calls
// pass through while no object lives, but for one thing: no name is ever given
// to a resolver, only dotted addresses are. A program is prepared by
// qnstack_wrap_network() (network_faults.cmake).
#ifndef QNSTACK_TESTS_SUPPORT_NETWORK_FAULTS_H
#define QNSTACK_TESTS_SUPPORT_NETWORK_FAULTS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/wrapped_close.h"

namespace qntest {

// What one scripted call does; made by the functions below.
struct Reaction {
  enum class Kind { kPass, kFail, kGive, kDeliver, kLimit };
  Kind kind = Kind::kPass;
  int number = 0;     // the error, the result or the limit
  std::string bytes;  // what a recv delivers
};

Reaction Pass();                      // as if nothing were scripted
Reaction FailWith(int error);         // -1 with that errno
Reaction Give(int result);            // that result, and nothing done
Reaction Deliver(std::string bytes);  // for recv: these bytes have arrived
Reaction AtMost(int bytes);           // for send and recv: so many bytes at most

// One call as it was made.
struct PlatformCall {
  std::string name;       // "socket", "connect", "send", ...
  int fd = -1;            // its first argument, where that is a descriptor
  std::size_t asked = 0;  // send, recv: bytes; connect: length of the address
  int flags = 0;          // send, recv; for setsockopt the option
  std::string text;       // send, recv: the bytes; connect: "1.2.3.4:80"; gethostbyname: the name;
                          // socket: its arguments, as in "2,1,0"
  std::int64_t result = 0;
};

// One at a time; concerns the calls of the thread that made it alone, so a
// server in another thread is not disturbed.
class NetworkFaults {
 public:
  enum class Mode {
    kPassThrough,  // calls without a script go to the platform, to loopback only
    // Nothing leaves the process: sockets get made-up descriptors, connecting
    // and sending succeed, receiving reports the end.
    kOffline
  };

  // The descriptors that sockets get while nothing leaves the process.
  static constexpr int kFirstMadeUpDescriptor = 1000000;

  explicit NetworkFaults(Mode mode = Mode::kPassThrough);
  ~NetworkFaults();
  NetworkFaults(const NetworkFaults &) = delete;
  NetworkFaults &operator=(const NetworkFaults &) = delete;

  // The next call of that name that has no script yet reacts so.
  void Script(std::string_view name, Reaction reaction);
  void Script(std::string_view name, const std::vector<Reaction> &reactions);

  // The next connection that has no peer yet receives so, whatever the ones
  // before have left.
  void AddPeer(const std::vector<Reaction> &receives);

  // What resolving `host` gives; any other name is unknown. An empty list is
  // an answer without an address.
  void AddHost(std::string host, std::vector<std::string> addresses);

  // Connecting to that address and port reaches a local port.
  void Route(std::string_view address, std::uint16_t port, std::uint16_t local_port);

  // Called within every send, before the platform's.
  void DuringSend(std::function<void()> action) { during_send_ = std::move(action); }

  // Called after every recv, in the thread that made it.
  void AfterReceive(std::function<void()> action) { after_receive_ = std::move(action); }

  const std::vector<PlatformCall> &Calls() const { return calls_; }
  std::vector<PlatformCall> CallsOf(std::string_view name) const;
  std::size_t Count(std::string_view name) const { return CallsOf(name).size(); }
  std::vector<std::string> Names() const;  // of all calls, in order
  std::string Sent() const;                // the bytes of all sends, as far as they were taken
  void ForgetCalls() { calls_.clear(); }

 private:
  friend struct NetworkCalls;

  Reaction NextReaction(std::string_view name);
  void MeetNextPeer();
  void Record(PlatformCall call) { calls_.push_back(std::move(call)); }

  const Mode mode_;
  const ScopedClose close_;
  std::deque<std::deque<Reaction>> peers_;
  std::map<std::string, std::deque<Reaction>, std::less<>> scripts_;
  std::map<std::string, std::vector<std::string>> hosts_;
  std::map<std::string, std::uint16_t> routes_;  // by "address:port"
  std::function<void()> during_send_;
  std::function<void()> after_receive_;
  std::vector<PlatformCall> calls_;
  int made_up_ = kFirstMadeUpDescriptor;
  int unscripted_receives_ = 0;
};

}  // namespace qntest

#endif
