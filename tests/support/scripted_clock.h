// SPDX-License-Identifier: MIT
// Lets a test say what time it is, and what the C library's random numbers are
// made of. While no object lives, all calls pass through. A program is prepared
// by qnstack_wrap_clock() (scripted_clock.cmake).
#ifndef QNSTACK_TESTS_SUPPORT_SCRIPTED_CLOCK_H
#define QNSTACK_TESTS_SUPPORT_SCRIPTED_CLOCK_H

#include <cstddef>
#include <ctime>
#include <vector>

namespace qntest {

// A local date and time as people write it: full year, months from 1.
struct LocalMoment {
  int year;
  int month;
  int day;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// One at a time. The clock stands still until it is set.
class ScriptedClock {
 public:
  static constexpr std::time_t kStart = 1'000'000'007;

  explicit ScriptedClock(const LocalMoment &local);
  ~ScriptedClock();
  ScriptedClock(const ScriptedClock &) = delete;
  ScriptedClock &operator=(const ScriptedClock &) = delete;

  // What every conversion to local time gives from here on, whatever the time
  // zone of the machine and the seconds that are converted.
  void SetLocal(const LocalMoment &local);

  // From here on every such conversion fails, and leaves some of its fields set.
  void RefuseLocal();

  // What time() gives from here on; kStart at first.
  void SetSeconds(std::time_t seconds);

  std::size_t Readings() const;                       // calls of time()
  const std::vector<std::time_t> &Converted() const;  // what was made local time
  const std::vector<unsigned> &Seeds() const;         // what the generator was seeded with
  std::size_t RandomNumbers() const;                  // calls of rand()

  // The number that the call of that index, from 0, gets after a seed.
  static int RandomNumber(unsigned seed, std::size_t index);
};

// How often the program read its time zone, and whether it did before it first
// asked for a local time. Counts from the program's start.
int ZoneReadings();
bool ZoneWasReadFirst();

}  // namespace qntest

#endif
