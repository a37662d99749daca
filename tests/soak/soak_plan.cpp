// SPDX-License-Identifier: MIT
#include "soak_plan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace soak {
namespace {

constexpr int kMostRedirects = 10;
constexpr int kEndless = 99;
constexpr std::size_t kLongBody = 12 << 20;  // more than all socket buffers hold

bool Chance(Random &random, unsigned percent) { return random() % 100 < percent; }

std::size_t DrawBelow(Random &random, std::size_t limit) {
  return static_cast<std::size_t>(random() % limit);
}

// Mostly some kilobytes, sometimes none, now and then a lot.
std::size_t DrawSize(Random &random) {
  const unsigned kind = static_cast<unsigned>(random() % 100);
  if (kind < 10) return 0;
  if (kind < 85) return DrawBelow(random, 8192);
  if (kind < 98) return DrawBelow(random, 65536);
  return DrawBelow(random, 300000);
}

End DrawEnd(Random &random) {
  const unsigned kind = static_cast<unsigned>(random() % 1000);
  if (kind < 800) return End::kWhole;
  if (kind < 870) return End::kCut;
  if (kind < 940) return End::kReset;
  if (kind < 970) return End::kNothing;
  if (kind < 999) return End::kResetAtOnce;
  return End::kResetInRequest;
}

void DrawRequest(Random &random, Plan &plan) {
  constexpr const char *kMethods[] = {"GET", "GET", "GET", "HEAD", "POST", "PUT"};
  plan.method = kMethods[random() % 6];
  if (plan.end == End::kResetInRequest) {
    plan.method = "POST";
    plan.request_bytes = kLongBody;
  } else if (plan.method == "POST" || plan.method == "PUT") {
    plan.request_bytes = DrawSize(random);
  }
}

// Whether the answer to `plan` begins at all.
bool Answers(const Plan &plan) {
  return plan.end == End::kWhole || plan.end == End::kCut || plan.end == End::kReset;
}

bool HasBody(const Plan &plan) { return plan.method != "HEAD" || plan.redirects > 0; }

}  // namespace

Plan DrawPlan(Random &random) {
  Plan plan;
  plan.proxy = Chance(random, 30);
  plan.end = DrawEnd(random);
  DrawRequest(random, plan);
  if (Chance(random, 3)) plan.peer = Peer::kRefusing;
  if (Chance(random, 2)) plan.peer = Peer::kWithoutAddress;
  plan.answer_bytes = DrawSize(random);
  plan.kept_bytes = plan.answer_bytes == 0 ? 0 : DrawBelow(random, plan.answer_bytes);
  plan.pattern = static_cast<unsigned>(random() % 251);
  if (Chance(random, 25)) plan.cookies = static_cast<int>(random() % 8);
  if (!Answers(plan)) return plan;
  if (Chance(random, 10)) plan.redirects = static_cast<int>(1 + random() % 3);
  if (Chance(random, 1)) plan.redirects = kEndless;
  const unsigned kind = static_cast<unsigned>(random() % 100);
  if (kind < 8 && plan.redirects == 0) plan.reader = Reader::kRaw;
  if (kind >= 90) plan.reader = kind < 95 ? Reader::kStops : Reader::kFreesEarly;
  return plan;
}

std::string PathOf(const Plan &plan) {
  char path[128];
  std::snprintf(path, sizeof path, "/%d/%zu/%zu/%d/%d/%u/", static_cast<int>(plan.end),
                plan.answer_bytes, plan.kept_bytes, plan.redirects, plan.cookies, plan.pattern);
  return path;
}

Plan PlanOfPath(const std::string &path) {
  Plan plan;
  int end = 0;
  if (std::sscanf(path.c_str(), "/%d/%zu/%zu/%d/%d/%u/", &end, &plan.answer_bytes, &plan.kept_bytes,
                  &plan.redirects, &plan.cookies, &plan.pattern) != 6) {
    std::fprintf(stderr, "soak: a request for %s\n", path.c_str());
    std::abort();
  }
  plan.end = static_cast<End>(end);
  return plan;
}

std::string BodyOf(unsigned pattern, std::size_t size) {
  std::string body(size, '\0');
  for (std::size_t i = 0; i < size; ++i) body[i] = static_cast<char>((pattern + i * 7) % 251);
  return body;
}

Outcome OutcomeOf(const Plan &plan) {
  if (plan.peer == Peer::kWithoutAddress) return {-1, -10, 0, {}};
  if (plan.peer == Peer::kRefusing || plan.end == End::kResetInRequest) return {-1, -12, 0, {}};
  if (plan.end == End::kResetAtOnce) return {-1, -13, 0, {}};
  if (plan.end == End::kNothing) return {0, 5, 0, {}};
  if (plan.redirects > kMostRedirects) return {-1, 5, kMostRedirects + 1, {}};
  const std::size_t size = plan.end == End::kWhole ? plan.answer_bytes : plan.kept_bytes;
  return {0, 5, plan.redirects, HasBody(plan) ? BodyOf(plan.pattern, size) : std::string()};
}

}  // namespace soak
