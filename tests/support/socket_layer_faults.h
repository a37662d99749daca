// SPDX-License-Identifier: MIT
// Lets a test say what the socket layer reports to the HTTP client, for results
// that the layer's own port never gives. A program is prepared by
// qnstack_wrap_socket_layer() (socket_layer_faults.cmake).
#ifndef QNSTACK_TESTS_SUPPORT_SOCKET_LAYER_FAULTS_H
#define QNSTACK_TESTS_SUPPORT_SOCKET_LAYER_FAULTS_H

#include <cstdint>
#include <deque>
#include <functional>

namespace qntest {

// One at a time. A call without a scripted result passes through.
class SocketLayerFaults {
 public:
  SocketLayerFaults();
  ~SocketLayerFaults();
  SocketLayerFaults(const SocketLayerFaults &) = delete;
  SocketLayerFaults &operator=(const SocketLayerFaults &) = delete;

  // The results of the following calls, with nothing done.
  std::deque<int32_t> init;
  std::deque<int32_t> create;
  std::deque<int32_t> send;
  std::deque<int32_t> receive;

  // Called before each receive.
  std::function<void()> before_receive;
};

}  // namespace qntest

#endif
