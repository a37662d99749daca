// SPDX-License-Identifier: MIT
// What programs do with the stores, each as one act on files that are made
// before it, with what a program that starts anew may find afterwards. Tests
// run an act with something going wrong in it.
#ifndef QNSTACK_TESTS_POSIX_STORE_SCENARIOS_H
#define QNSTACK_TESTS_POSIX_STORE_SCENARIOS_H

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <set>
#include <string>
#include <vector>

#include "posix/stores.h"

namespace qntest {

struct StoreScenario {
  const char *name = "";
  std::function<void()> prepare = {};  // the files, made from nothing
  std::function<bool()> act = {};      // as a program that starts anew; whether it was told success
  std::function<Texts()> load = {};    // what a program that starts anew finds
  Texts old_content = {};
  Texts new_content = {};
  std::set<std::string> files = {};  // that are there after a success, below the root
  const char *file = nullptr;        // the one with the old content; none where it has a ".bak"
  // Before it, an act has been cut short and has left its temporary.
  bool follows_one_that_died = false;
};

std::vector<StoreScenario> StoreScenarios();

// For the names of tests and the messages of failed assertions.
std::string NameOf(const testing::TestParamInfo<StoreScenario> &test);
void PrintTo(const StoreScenario &scenario, std::ostream *out);

// Makes the scenario's files below a root that is emptied first.
void PrepareStore(const StoreScenario &scenario, const std::string &root);

// Makes of a file what a save leaves that keeps a ".bak" and does not finish: the
// old content there, and the beginning of another under the name.
void LeaveABackup(const char *file);

// The files below the root, by their names in it.
std::set<std::string> FilesBelow(const std::string &root);

// Runs the act undisturbed on what it finds, after which there is no file that
// it did not mean to make; the cache's own sweeping takes what is left. What does
// not hold; empty if all does.
std::string ComplaintOfARun(const StoreScenario &scenario, const std::string &root);

}  // namespace qntest

#endif
