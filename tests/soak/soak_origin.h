// SPDX-License-Identifier: MIT
// The origin and gateway of the soak, in a process of its own so that its
// memory and descriptors are not the client's. It answers one connection after
// the other and closes first, so that the waiting times of closed connections
// are on its own port and the client's ports are free again.
#ifndef QNSTACK_TESTS_SOAK_SOAK_ORIGIN_H
#define QNSTACK_TESTS_SOAK_SOAK_ORIGIN_H

#include <cstdint>

#include "support/forked_process.h"
#include "support/loopback.h"

namespace soak {

class Origin {
 public:
  Origin();

  std::uint16_t port() const { return port_.port(); }

 private:
  qntest::LoopbackPort port_;
  qntest::ForkedProcess process_;
};

}  // namespace soak

#endif
