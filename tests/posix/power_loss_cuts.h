// SPDX-License-Identifier: MIT
// Cuts the power at every step of what was written down: each state of the
// medium that may be left is made as a folder and loaded.
#ifndef QNSTACK_TESTS_POSIX_POWER_LOSS_CUTS_H
#define QNSTACK_TESTS_POSIX_POWER_LOSS_CUTS_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "posix/power_loss_log.h"
#include "posix/store_scenarios.h"
#include "posix/stores.h"
#include "support/scratch_folder.h"

namespace qntest {

// Whether QNSTACK_POWER=full asks for all states; else a sample is taken.
bool LooksAtAllStates();

// What an act does below a root. The act must succeed, and nothing that it does
// may go by unseen.
MediumRecord RecordOf(const std::function<bool()> &act, const std::string &root);

struct PowerLossFindings {
  size_t cuts = 0;
  size_t states = 0;
  size_t torn = 0;            // states that load as neither content
  size_t undone = 0;          // states after the end that load as the old content
  std::string first_of_them;  // to be read by people

  size_t Violations() const { return torn + undone; }
};

class PowerLossCuts {
 public:
  // Only the scenario's load and contents matter. After each load `root` is the
  // root directory again.
  PowerLossCuts(const StoreScenario &scenario, const std::string &root)
      : scenario_(scenario), root_(root) {}

  // Cuts before the first change, and behind each; what is left must load as the
  // old content or the new, and behind the last change as the new.
  PowerLossFindings Cut(const MediumRecord &record);

 private:
  void Judge(const Tree &tree, bool has_ended, PowerLossFindings *findings);
  const Texts &Load(const Tree &tree);

  const StoreScenario &scenario_;
  const std::string &root_;
  ScratchFolder left_;
  std::map<Tree, Texts> loaded_;  // many cuts leave the same files
};

}  // namespace qntest

#endif
