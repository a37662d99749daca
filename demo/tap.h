// SPDX-License-Identifier: MIT
// A wire tap: a relay on a loopback port that passes bytes on in both directions
// and keeps them, so that the demo can show what really went over the network.
#ifndef DEMO_TAP_H
#define DEMO_TAP_H

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/loopback.h"

namespace demo {

// What one connection carried.
struct Exchange {
  std::string request;
  std::string answer;
};

class Tap {
 public:
  // Stands before the loopback port `target`. Throws std::runtime_error when
  // the platform refuses a socket.
  explicit Tap(uint16_t target);
  ~Tap();
  Tap(const Tap &) = delete;
  Tap &operator=(const Tap &) = delete;

  uint16_t port() const { return port_.port(); }

  // The exchanges since the last call. A client may have its answer before the
  // connection ends; this waits for the end.
  std::vector<Exchange> Take();

 private:
  void Serve();
  void Relay(int client);
  void SetUnderWay(bool under_way);
  bool Pass(int from, int to, std::string &record) const;

  uint16_t target_;
  qntest::LoopbackPort port_;
  qntest::Descriptor stop_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool under_way_ = false;
  std::vector<Exchange> exchanges_;
  std::thread thread_;
};

}  // namespace demo

#endif
