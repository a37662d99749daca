// SPDX-License-Identifier: MIT
// The figures of the tests against hostile peers, as a table at the end of the
// program.
#ifndef QNSTACK_TESTS_HOSTILE_HOSTILE_REPORT_H
#define QNSTACK_TESTS_HOSTILE_HOSTILE_REPORT_H

#include <chrono>
#include <string>

namespace qntest {

// Whether QNSTACK_HOSTILE=full asks for the table, and for whole amounts where
// they are dear.
bool IsFullRun();

// An amount of work: under a sanitizer, which makes it dear, a part of it but in
// a full run.
inline int Amount(int whole, int part) {
#ifdef __SANITIZE_ADDRESS__
  return IsFullRun() ? whole : part;
#else
  static_cast<void>(part);
  return whole;
#endif
}

struct ReportRow {
  std::string topic;
  std::string route;
  std::chrono::milliseconds time;
  long peak_kilobytes;  // above the start, the test's own server included
  std::string result;
};

// A line of the table, which is printed in a full run.
void Report(ReportRow row);

}  // namespace qntest

#endif
