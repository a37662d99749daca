// SPDX-License-Identifier: MIT
// Uses of the library, each run from the start of a program to its end with
// every fallible call counted, and what may be seen of them when calls fail.
#ifndef QNSTACK_TESTS_FAULT_SCENARIO_H
#define QNSTACK_TESTS_FAULT_SCENARIO_H

#include <functional>
#include <iosfwd>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace qntest {

// What a run with failed calls comes to.
struct Verdict {
  std::string complaint;  // what does not hold; empty if all does
  std::string exception;  // the known exception that was met; empty for none
};

inline Verdict Broken(std::string complaint) { return {std::move(complaint), {}}; }
inline Verdict Excepted(std::string exception) { return {{}, std::move(exception)}; }

// One run; made anew for each.
class Scenario {
 public:
  Scenario() = default;
  virtual ~Scenario() = default;
  Scenario(const Scenario &) = delete;
  Scenario &operator=(const Scenario &) = delete;

  // What was there before; nothing fails in it.
  virtual void Prepare() {}

  // The program; when it has ended it has given everything back.
  virtual void Act() = 0;

  // Whether the program was told that all went well.
  virtual bool Done() const = 0;

  // All that the program was told, as one text.
  virtual std::string Seen() const = 0;

  // Looks at what was seen and what was left behind; nothing fails in it.
  virtual Verdict Judge(bool heap_refused) = 0;
};

struct ScenarioKind {
  std::string name = {};
  std::function<std::unique_ptr<Scenario>()> make = nullptr;
  // Points at which the known exceptions are met, by their names, over all
  // ways of failing; more are none.
  std::map<std::string, int> exceptions = {};
  bool has_backup = false;  // there is a ".bak" that a save has left
  // See CallFault.
  int most_failed_receives = std::numeric_limits<int>::max();
};

// For the messages of failed assertions.
void PrintTo(const ScenarioKind &kind, std::ostream *out);

std::vector<ScenarioKind> NetworkScenarios();
std::vector<ScenarioKind> FileScenarios();
std::vector<ScenarioKind> MemoryScenarios();

}  // namespace qntest

#endif
