// SPDX-License-Identifier: MIT
// The program is linked with --wrap for each function below: calls to `time`
// arrive at `__wrap_time`, and `__real_time` is the system's clock.
#include "support/scripted_clock.h"

#include <climits>
#include <cstdlib>

namespace {

struct ClockState {
  std::time_t seconds = qntest::ScriptedClock::kStart;
  std::tm local = {};
  bool refuses_local = false;
  std::size_t readings = 0;
  std::vector<std::time_t> converted;
  std::vector<unsigned> seeds;
  std::size_t random_numbers = 0;
  std::size_t since_seed = 0;
};

ClockState state;
bool scripted = false;
int zone_readings = 0;
bool converted_before_zone = false;

std::tm FieldsOf(const qntest::LocalMoment &local) {
  std::tm fields = {};
  fields.tm_year = local.year - 1900;
  fields.tm_mon = local.month - 1;
  fields.tm_mday = local.day;
  fields.tm_hour = local.hour;
  fields.tm_min = local.minute;
  fields.tm_sec = local.second;
  return fields;
}

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

std::time_t __real_time(std::time_t *seconds);
std::tm *__real_localtime_r(const std::time_t *seconds, std::tm *fields);
void __real_tzset(void);
void __real_srand(unsigned seed);
int __real_rand(void);

std::time_t __wrap_time(std::time_t *seconds);
std::tm *__wrap_localtime_r(const std::time_t *seconds, std::tm *fields);
void __wrap_tzset(void);
void __wrap_srand(unsigned seed);
int __wrap_rand(void);

std::time_t __wrap_time(std::time_t *seconds) {
  if (!scripted) return __real_time(seconds);
  ++state.readings;
  if (seconds != nullptr) *seconds = state.seconds;
  return state.seconds;
}

std::tm *__wrap_localtime_r(const std::time_t *seconds, std::tm *fields) {
  if (zone_readings == 0) converted_before_zone = true;
  if (!scripted) return __real_localtime_r(seconds, fields);
  state.converted.push_back(*seconds);
  *fields = state.local;
  return state.refuses_local ? nullptr : fields;
}

void __wrap_tzset(void) {
  ++zone_readings;
  __real_tzset();
}

void __wrap_srand(unsigned seed) {
  if (!scripted) return __real_srand(seed);
  state.seeds.push_back(seed);
  state.since_seed = 0;
}

int __wrap_rand(void) {
  if (!scripted) return __real_rand();
  ++state.random_numbers;
  const unsigned seed = state.seeds.empty() ? 0 : state.seeds.back();
  return qntest::ScriptedClock::RandomNumber(seed, state.since_seed++);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace qntest {

ScriptedClock::ScriptedClock(const LocalMoment &local) {
  // Two at once would disturb each other: a mistake in the test.
  if (scripted) std::abort();
  state = ClockState{};
  state.local = FieldsOf(local);
  scripted = true;
}

ScriptedClock::~ScriptedClock() { scripted = false; }

void ScriptedClock::SetLocal(const LocalMoment &local) { state.local = FieldsOf(local); }

void ScriptedClock::RefuseLocal() { state.refuses_local = true; }

void ScriptedClock::SetSeconds(std::time_t seconds) { state.seconds = seconds; }

std::size_t ScriptedClock::Readings() const { return state.readings; }

const std::vector<std::time_t> &ScriptedClock::Converted() const { return state.converted; }

const std::vector<unsigned> &ScriptedClock::Seeds() const { return state.seeds; }

std::size_t ScriptedClock::RandomNumbers() const { return state.random_numbers; }

// Neighbours differ in the low byte and in those above it.
int ScriptedClock::RandomNumber(unsigned seed, std::size_t index) {
  const auto scattered = (seed + static_cast<unsigned>(index) + 1) * 2654435761U;
  return static_cast<int>((scattered ^ (scattered >> 15)) & INT_MAX);
}

int ZoneReadings() { return zone_readings; }

bool ZoneWasReadFirst() { return zone_readings > 0 && !converted_before_zone; }

}  // namespace qntest
