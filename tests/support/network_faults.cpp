// SPDX-License-Identifier: MIT
// The wrapped network calls. The linker sends calls to `send` to `__wrap_send`;
// `__real_send` is the platform's (or a sanitizer's).
#include "support/network_faults.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/call_faults.h"
#include "support/wrapped_close.h"

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int __real_socket(int domain, int type, int protocol);
int __real_connect(int fd, const sockaddr *address, socklen_t length);
ssize_t __real_send(int fd, const void *bytes, size_t count, int flags);
ssize_t __real_recv(int fd, void *bytes, size_t count, int flags);
int __real_setsockopt(int fd, int level, int option, const void *value, socklen_t length);
hostent *__real_gethostbyname(const char *name);

int __wrap_socket(int domain, int type, int protocol);
int __wrap_connect(int fd, const sockaddr *address, socklen_t length);
ssize_t __wrap_send(int fd, const void *bytes, size_t count, int flags);
ssize_t __wrap_recv(int fd, void *bytes, size_t count, int flags);
int __wrap_setsockopt(int fd, int level, int option, const void *value, socklen_t length);
hostent *__wrap_gethostbyname(const char *name);

}  // extern "C"

namespace qntest {
namespace {

// A loop that asks without end for what is not coming ends here.
constexpr int kMaxUnscriptedReceives = 10000;

thread_local NetworkFaults *active = nullptr;

bool IsMadeUp(int fd) { return fd >= NetworkFaults::kFirstMadeUpDescriptor; }

std::string Endpoint(std::string_view address, unsigned port) {
  return std::string(address) + ":" + std::to_string(port);
}

std::string Dotted(const sockaddr_in &peer) {
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &peer.sin_addr, text.data(), text.size());
  return text.data();
}

bool IsLoopback(const sockaddr_in &peer) {
  return ntohl(peer.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
}

bool IsDottedAddress(const char *name) {
  in_addr address{};
  return inet_pton(AF_INET, name, &address) == 1;
}

// The answer of a resolver, in static memory as the platform's is.
hostent *AnswerOf(const std::vector<std::string> &addresses) {
  constexpr std::size_t kMost = 4;
  static std::array<in_addr, kMost> stored;
  static std::array<char *, kMost + 1> list;
  static hostent answer;
  list = {};
  for (std::size_t i = 0; i < std::min(addresses.size(), kMost); ++i) {
    inet_pton(AF_INET, addresses[i].c_str(), &stored[i]);
    list[i] = reinterpret_cast<char *>(&stored[i]);
  }
  answer = {};
  answer.h_addrtype = AF_INET;
  answer.h_length = sizeof(in_addr);
  answer.h_addr_list = list.data();
  return &answer;
}

hostent *UnknownHost() {
  h_errno = HOST_NOT_FOUND;
  return nullptr;
}

// Whether the script says it all; then `result` is what the call gives.
bool Scripted(const Reaction &reaction, std::int64_t &result) {
  if (reaction.kind == Reaction::Kind::kFail) {
    errno = reaction.number;
    result = -1;
    return true;
  }
  if (reaction.kind == Reaction::Kind::kGive) {
    result = reaction.number;
    return true;
  }
  return false;
}

std::size_t Limited(const Reaction &reaction, std::size_t count) {
  if (reaction.kind != Reaction::Kind::kLimit) return count;
  return std::min(count, static_cast<std::size_t>(reaction.number));
}

std::string Bytes(const void *bytes, std::int64_t count) {
  return count <= 0
             ? std::string()
             : std::string(static_cast<const char *>(bytes), static_cast<std::size_t>(count));
}

}  // namespace

Reaction Pass() { return {}; }
Reaction FailWith(int error) { return {Reaction::Kind::kFail, error, {}}; }
Reaction Give(int result) { return {Reaction::Kind::kGive, result, {}}; }
Reaction Deliver(std::string bytes) { return {Reaction::Kind::kDeliver, 0, std::move(bytes)}; }
Reaction AtMost(int bytes) { return {Reaction::Kind::kLimit, bytes, {}}; }

// The calls as they go while a NetworkFaults lives.
struct NetworkCalls {
  static int Socket(NetworkFaults &faults, int domain, int type, int protocol) {
    std::int64_t fd = -1;
    if (!Scripted(faults.NextReaction("socket"), fd)) {
      fd = Offline(faults) ? faults.made_up_++ : __real_socket(domain, type, protocol);
    }
    const std::string arguments =
        std::to_string(domain) + "," + std::to_string(type) + "," + std::to_string(protocol);
    faults.Record({.name = "socket", .text = arguments, .result = fd});
    return static_cast<int>(fd);
  }

  static int Connect(NetworkFaults &faults, int fd, const sockaddr *address, socklen_t length) {
    sockaddr_in peer{};
    std::memcpy(&peer, address, std::min<std::size_t>(length, sizeof peer));
    const std::string endpoint = Endpoint(Dotted(peer), ntohs(peer.sin_port));
    std::int64_t result = 0;
    if (!Scripted(faults.NextReaction("connect"), result)) {
      result = Offline(faults) && IsMadeUp(fd) ? 0 : ConnectHere(faults, fd, peer, endpoint);
    }
    if (result == 0) faults.MeetNextPeer();
    faults.Record({.name = "connect",
                   .fd = fd,
                   .asked = length,
                   .flags = peer.sin_family,
                   .text = endpoint,
                   .result = result});
    return static_cast<int>(result);
  }

  static ssize_t Send(NetworkFaults &faults, int fd, const void *bytes, size_t count, int flags) {
    if (faults.during_send_) faults.during_send_();
    const Reaction reaction = faults.NextReaction("send");
    std::int64_t sent = 0;
    if (!Scripted(reaction, sent)) {
      const std::size_t taken = Limited(reaction, count);
      sent = IsMadeUp(fd) ? static_cast<ssize_t>(taken) : __real_send(fd, bytes, taken, flags);
    }
    const int error = errno;
    faults.Record({"send", fd, count, flags, Bytes(bytes, sent), sent});
    errno = error;
    return static_cast<ssize_t>(sent);
  }

  static ssize_t Receive(NetworkFaults &faults, int fd, void *bytes, size_t count, int flags) {
    const Reaction reaction = faults.NextReaction("recv");
    std::int64_t received = 0;
    if (!Scripted(reaction, received)) received = Take(faults, reaction, fd, bytes, count, flags);
    const int error = errno;
    faults.Record({"recv", fd, count, flags, Bytes(bytes, received), received});
    if (faults.after_receive_) faults.after_receive_();
    errno = error;
    return static_cast<ssize_t>(received);
  }

  static int Close(NetworkFaults &faults, int fd) {
    std::int64_t result = 0;
    if (!Scripted(faults.NextReaction("close"), result) && !IsMadeUp(fd)) {
      result = CloseDescriptor(fd);
    }
    faults.Record({"close", fd, 0, 0, {}, result});
    return static_cast<int>(result);
  }

  static int SetOption(NetworkFaults &faults, int fd, int level, int option, const void *value,
                       socklen_t length) {
    std::int64_t result = 0;
    if (!Scripted(faults.NextReaction("setsockopt"), result) && !IsMadeUp(fd)) {
      result = __real_setsockopt(fd, level, option, value, length);
    }
    faults.Record({.name = "setsockopt",
                   .fd = fd,
                   .flags = option,
                   .text = std::to_string(level),
                   .result = result});
    return static_cast<int>(result);
  }

  static hostent *Resolve(NetworkFaults &faults, const char *name) {
    hostent *answer = nullptr;
    std::int64_t failed = 0;
    if (Scripted(faults.NextReaction("gethostbyname"), failed)) {
      answer = UnknownHost();
    } else if (const auto known = faults.hosts_.find(name); known != faults.hosts_.end()) {
      answer = AnswerOf(known->second);
    } else {
      answer = IsDottedAddress(name) ? __real_gethostbyname(name) : UnknownHost();
    }
    faults.Record({.name = "gethostbyname", .text = name, .result = answer == nullptr ? 0 : 1});
    return answer;
  }

 private:
  static bool Offline(const NetworkFaults &faults) {
    return faults.mode_ == NetworkFaults::Mode::kOffline;
  }

  // Connects to the route of an endpoint, or to the endpoint if it is local.
  static int ConnectHere(const NetworkFaults &faults, int fd, sockaddr_in peer,
                         const std::string &endpoint) {
    if (const auto route = faults.routes_.find(endpoint); route != faults.routes_.end()) {
      peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      peer.sin_port = htons(route->second);
    }
    if (fd >= 0 && !IsLoopback(peer)) {
      errno = ENETUNREACH;
      return -1;
    }
    return __real_connect(fd, reinterpret_cast<const sockaddr *>(&peer), sizeof peer);
  }

  static ssize_t Take(NetworkFaults &faults, const Reaction &reaction, int fd, void *bytes,
                      size_t count, int flags) {
    if (reaction.kind == Reaction::Kind::kDeliver) {
      return DeliverPart(faults, reaction.bytes, bytes, count);
    }
    if (!IsMadeUp(fd)) return __real_recv(fd, bytes, Limited(reaction, count), flags);
    if (++faults.unscripted_receives_ > kMaxUnscriptedReceives) {
      std::fputs("receiving goes on although nothing comes\n", stderr);
      std::abort();
    }
    return 0;
  }

  // What does not fit waits for the next call, as in the kernel.
  static ssize_t DeliverPart(NetworkFaults &faults, const std::string &arrived, void *bytes,
                             size_t count) {
    const std::size_t taken = std::min(count, arrived.size());
    std::memcpy(bytes, arrived.data(), taken);
    if (taken < arrived.size()) {
      faults.scripts_["recv"].push_front(Deliver(arrived.substr(taken)));
    }
    return static_cast<ssize_t>(taken);
  }
};

NetworkFaults::NetworkFaults(Mode mode)
    : mode_(mode), close_([](int fd) { return NetworkCalls::Close(*active, fd); }) {
  if (active != nullptr) std::abort();  // a mistake in the test
  active = this;
}

NetworkFaults::~NetworkFaults() { active = nullptr; }

void NetworkFaults::Script(std::string_view name, Reaction reaction) {
  scripts_[std::string(name)].push_back(std::move(reaction));
}

void NetworkFaults::Script(std::string_view name, const std::vector<Reaction> &reactions) {
  for (const Reaction &reaction : reactions) Script(name, reaction);
}

void NetworkFaults::AddPeer(const std::vector<Reaction> &receives) {
  peers_.emplace_back(receives.begin(), receives.end());
}

void NetworkFaults::MeetNextPeer() {
  if (peers_.empty()) return;
  scripts_["recv"] = std::move(peers_.front());
  peers_.pop_front();
}

void NetworkFaults::AddHost(std::string host, std::vector<std::string> addresses) {
  hosts_[std::move(host)] = std::move(addresses);
}

void NetworkFaults::Route(std::string_view address, std::uint16_t port, std::uint16_t local_port) {
  routes_[Endpoint(address, port)] = local_port;
}

std::vector<PlatformCall> NetworkFaults::CallsOf(std::string_view name) const {
  std::vector<PlatformCall> found;
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
               [name](const PlatformCall &call) { return call.name == name; });
  return found;
}

std::vector<std::string> NetworkFaults::Names() const {
  std::vector<std::string> names;
  for (const PlatformCall &call : calls_) names.push_back(call.name);
  return names;
}

std::string NetworkFaults::Sent() const {
  std::string sent;
  for (const PlatformCall &call : calls_) {
    if (call.name == "send") sent += call.text;
  }
  return sent;
}

Reaction NetworkFaults::NextReaction(std::string_view name) {
  const auto script = scripts_.find(name);
  if (script == scripts_.end() || script->second.empty()) return Pass();
  Reaction next = std::move(script->second.front());
  script->second.pop_front();
  return next;
}

}  // namespace qntest

extern "C" {

using namespace qntest;

int __wrap_socket(int domain, int type, int protocol) {
  if (CallFaults::Fail(qntest::kNetworkCalls, "socket")) return -1;
  return active != nullptr ? NetworkCalls::Socket(*active, domain, type, protocol)
                           : __real_socket(domain, type, protocol);
}

int __wrap_connect(int fd, const sockaddr *address, socklen_t length) {
  if (CallFaults::Fail(qntest::kNetworkCalls, "connect")) return -1;
  return active != nullptr ? NetworkCalls::Connect(*active, fd, address, length)
                           : __real_connect(fd, address, length);
}

ssize_t __wrap_send(int fd, const void *bytes, size_t count, int flags) {
  if (CallFaults::Fail(qntest::kNetworkCalls, "send")) return -1;
  return active != nullptr ? NetworkCalls::Send(*active, fd, bytes, count, flags)
                           : __real_send(fd, bytes, count, flags);
}

ssize_t __wrap_recv(int fd, void *bytes, size_t count, int flags) {
  if (CallFaults::Fail(qntest::kNetworkCalls, "recv")) return -1;
  return active != nullptr ? NetworkCalls::Receive(*active, fd, bytes, count, flags)
                           : __real_recv(fd, bytes, count, flags);
}

int __wrap_setsockopt(int fd, int level, int option, const void *value, socklen_t length) {
  if (CallFaults::Fail(qntest::kNetworkCalls, "setsockopt")) return -1;
  return active != nullptr ? NetworkCalls::SetOption(*active, fd, level, option, value, length)
                           : __real_setsockopt(fd, level, option, value, length);
}

hostent *__wrap_gethostbyname(const char *name) {
  if (CallFaults::Fail(qntest::kNetworkCalls, "gethostbyname")) return qntest::UnknownHost();
  if (active != nullptr) return NetworkCalls::Resolve(*active, name);
  return qntest::IsDottedAddress(name) ? __real_gethostbyname(name) : qntest::UnknownHost();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
