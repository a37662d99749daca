// SPDX-License-Identifier: MIT
// The exchanges of the soak as the application makes them: one by a plan with
// its outcome compared, or one for a document that may be in the cache.
#ifndef QNSTACK_TESTS_SOAK_SOAK_EXCHANGE_H
#define QNSTACK_TESTS_SOAK_SOAK_EXCHANGE_H

#include <cstdint>
#include <string>

#include "soak_plan.h"

namespace soak {

// Where the peers are.
struct Peers {
  std::uint16_t origin;
  std::uint16_t refusing;
};

// What the soak has done; the numbers of its table.
struct Tally {
  long wrong = 0;  // exchanges that did not end as foretold
  long failed = 0;
  long redirects = 0;
  long bytes = 0;
  long cache_saves = 0;
  long cache_hits = 0;
  long cache_hits_without_body = 0;
  long cache_clears = 0;
  long most_entries = 0;  // in the cache's index
};

// Runs one planned exchange. The first ones that go wrong are told on standard
// error.
void RunPlan(const Plan &plan, const Peers &peers, Tally &tally);

// Asks for one of some hundred documents: from the cache if it has it, else
// from the origin, and then the cache keeps it.
void RunDocument(Random &random, const Peers &peers, Tally &tally);

}  // namespace soak

#endif
