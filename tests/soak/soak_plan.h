// SPDX-License-Identifier: MIT
// What one exchange of the soak is: drawn by chance, told to the origin in the
// path, and foretold in its outcome.
#ifndef QNSTACK_TESTS_SOAK_SOAK_PLAN_H
#define QNSTACK_TESTS_SOAK_SOAK_PLAN_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace soak {

using Random = std::mt19937_64;

// How the origin ends an answer.
enum class End {
  kWhole,
  kCut,            // closes amid the body
  kReset,          // resets amid the body
  kNothing,        // closes without a byte
  kResetAtOnce,    // resets before any byte
  kResetInRequest  // resets amid a long request body
};

// What the client asks.
enum class Peer { kOrigin, kRefusing, kWithoutAddress };

// What the application does with the answer.
enum class Reader { kBody, kRaw, kStops, kFreesEarly };

struct Plan {
  std::string method = "GET";
  bool proxy = false;
  Peer peer = Peer::kOrigin;
  End end = End::kWhole;
  Reader reader = Reader::kBody;
  std::size_t request_bytes = 0;
  std::size_t answer_bytes = 0;
  std::size_t kept_bytes = 0;  // of the answer's body, where it is cut or reset
  int redirects = 0;           // before the answer; above 10 there is none
  int cookies = 0;
  unsigned pattern = 0;  // of the answer's body
};

Plan DrawPlan(Random &random);

// The plan as a path, as far as it concerns the origin, and back.
std::string PathOf(const Plan &plan);
Plan PlanOfPath(const std::string &path);

// Bytes that tell their place.
std::string BodyOf(unsigned pattern, std::size_t size);

// What the transfer must end with.
struct Outcome {
  std::int32_t result = 0;
  std::int32_t state = 0;
  std::int32_t redirects = 0;
  std::string body;
};
Outcome OutcomeOf(const Plan &plan);

}  // namespace soak

#endif
