// SPDX-License-Identifier: MIT
// A wire tap: a relay on a loopback port that passes bytes on in both directions
// and keeps them, so that the demo can show what really went over the network.
#ifndef DEMO_TAP_H
#define DEMO_TAP_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace demo {

// What one connection carried.
struct Exchange {
  std::string request;
  std::string answer;
};

// A descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor();
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

class Tap {
 public:
  // Stands before the loopback port `target`. Throws std::runtime_error when
  // the platform refuses a socket.
  explicit Tap(int target);
  ~Tap();
  Tap(const Tap &) = delete;
  Tap &operator=(const Tap &) = delete;

  int port() const { return port_; }

  // The exchanges since the last call. A client may have its answer before the
  // connection ends; this waits for the end.
  std::vector<Exchange> Take();

 private:
  void Serve();
  void Relay(int client);
  void SetUnderWay(bool under_way);
  bool Pass(int from, int to, std::string &record) const;

  int target_;
  int port_ = 0;
  Descriptor listener_;
  Descriptor stop_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool under_way_ = false;
  std::vector<Exchange> exchanges_;
  std::thread thread_;
};

}  // namespace demo

#endif
