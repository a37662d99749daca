// SPDX-License-Identifier: MIT
// Measuring contenders in rounds: every round gives each of them one slice, so
// that what disturbs the machine disturbs all of them alike.
#ifndef BENCH_ROUNDS_H
#define BENCH_ROUNDS_H

#include <string>
#include <vector>

#include "exchange.h"
#include "platform.h"

namespace bench {

struct Contender {
  std::string name;
  Client client;
};

// What one contender cost, round by round, per exchange.
struct Series {
  std::string name;
  std::vector<double> cpu;
  std::vector<double> wall;
  int exchanges = 0;
  int stalls = 0;  // exchanges that took longer than a delayed acknowledgement
};

// The least of a series, its median and the quartiles around that.
struct Spread {
  double least = 0;
  double low = 0;
  double median = 0;
  double high = 0;
};
Spread SpreadOf(std::vector<double> values);

// Of `values` over those of `peer` in the same round.
Spread RatioOf(const std::vector<double> &values, const std::vector<double> &peer);

// Ends the program when a contender does not hand out the whole answer.
std::vector<Series> MeasureInRounds(const Exchange &exchange,
                                    const std::vector<Contender> &contenders, int rounds);

}  // namespace bench

#endif
