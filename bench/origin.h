// SPDX-License-Identifier: MIT
// The origin of the exchange benchmark: a process of its own, so that what it
// costs is not counted with the client. It answers one HTTP/1.0 request per
// connection and closes. The number behind the last '/' of the request's target
// is the size of the answer's body, so the absolute form that goes to a proxy is
// understood as well; a request body is read to its end first.
#ifndef BENCH_ORIGIN_H
#define BENCH_ORIGIN_H

#include <cstdint>

#include "support/forked_process.h"
#include "support/loopback.h"

namespace bench {

class Origin {
 public:
  // Listens on a loopback port of the platform's choice and forks; `cpu` is
  // where the origin runs, -1 for anywhere. Throws std::runtime_error when that fails.
  explicit Origin(int cpu);

  std::uint16_t port() const { return port_.port(); }

 private:
  qntest::LoopbackPort port_;
  qntest::ForkedProcess process_;
};

}  // namespace bench

#endif
