// SPDX-License-Identifier: MIT
#include "rounds.h"

#include <algorithm>
#include <cstddef>

namespace bench {
namespace {

// An acknowledgement is delayed by 40 ms where one is waited for in vain.
constexpr double kStallMicroseconds = 35'000;

void RunOnce(const Exchange &exchange, const Contender &contender) {
  const std::size_t body = contender.client();
  if (body == exchange.answer_bytes) return;
  Fail(exchange.name + ", " + contender.name + ": " + std::to_string(body) + " of " +
       std::to_string(exchange.answer_bytes) + " bytes");
}

void RunSlice(const Exchange &exchange, const Contender &contender, Series &series) {
  const Cost start = CostSoFar();
  double last = start.wall;
  for (int i = 0; i < exchange.count; ++i) {
    RunOnce(exchange, contender);
    const double now = WallClock();
    if (now - last > kStallMicroseconds) ++series.stalls;
    last = now;
  }
  const Cost end = CostSoFar();
  series.cpu.push_back((end.cpu - start.cpu) / exchange.count);
  series.wall.push_back((end.wall - start.wall) / exchange.count);
  series.exchanges += exchange.count;
}

}  // namespace

Spread SpreadOf(std::vector<double> values) {
  if (values.empty()) return {};
  std::sort(values.begin(), values.end());
  const std::size_t last = values.size() - 1;
  return {values.front(), values[last / 4], (values[last / 2] + values[(last + 1) / 2]) / 2,
          values[last - last / 4]};
}

Spread RatioOf(const std::vector<double> &values, const std::vector<double> &peer) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < values.size(); ++i) ratios.push_back(values[i] / peer[i]);
  return SpreadOf(std::move(ratios));
}

std::vector<Series> MeasureInRounds(const Exchange &exchange,
                                    const std::vector<Contender> &contenders, int rounds) {
  std::vector<Series> all;
  for (const Contender &contender : contenders) {
    all.push_back({.name = contender.name, .cpu = {}, .wall = {}});
    for (int i = 0; i <= exchange.count / 10; ++i) RunOnce(exchange, contender);  // warms up
  }
  for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round) {
    // Everyone comes first as often as last.
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      const std::size_t turn = (i + round) % contenders.size();
      RunSlice(exchange, contenders[turn], all[turn]);
    }
  }
  return all;
}

}  // namespace bench
