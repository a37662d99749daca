// SPDX-License-Identifier: MIT
// The program that loads is this one: it forgets what it has in memory.
#include "posix/power_loss_cuts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "posix/file_faults.h"
#include "posix/power_loss_states.h"
#include "qnstack/qn_fs_file.h"

namespace qntest {

namespace {

constexpr size_t kMostSampled = 100;  // states of one cut
constexpr size_t kMostInAll = 3000;   // the same

// For the messages of failed assertions.
std::string TextOf(const Tree &tree) {
  std::string text;
  for (const auto &[name, content] : tree) {
    text += " " + name;
    if (name.back() != '/') text += " (" + std::to_string(content.size()) + ")";
  }
  return text;
}

}  // namespace

bool LooksAtAllStates() {
  const char *extent = std::getenv("QNSTACK_POWER");
  return extent != nullptr && std::string_view(extent) == "full";
}

MediumRecord RecordOf(const std::function<bool()> &act, const std::string &root) {
  PowerLossLog log(root);
  {
    FileFaults faults;
    faults.LetHear(&log);
    EXPECT_TRUE(act());
  }
  PowerLossStates states(log.Record());
  for (const MediumChange &change : log.Record().changes) states.Apply(change);
  EXPECT_EQ(states.Undisturbed(), ReadTree(root));
  return log.Record();
}

PowerLossFindings PowerLossCuts::Cut(const MediumRecord &record) {
  PowerLossFindings findings;
  PowerLossStates states(record);
  for (size_t done = 0; done <= record.changes.size(); ++done) {
    if (done > 0) states.Apply(record.changes[done - 1]);
    ++findings.cuts;
    for (const Tree &tree : states.AfterACut(LooksAtAllStates() ? kMostInAll : kMostSampled)) {
      ++findings.states;
      Judge(tree, done == record.changes.size(), &findings);
    }
  }
  return findings;
}

void PowerLossCuts::Judge(const Tree &tree, bool has_ended, PowerLossFindings *findings) {
  const Texts &found = Load(tree);
  if (found == scenario_.new_content) return;
  const bool is_old = found == scenario_.old_content;
  if (is_old && !has_ended) return;
  ++(is_old ? findings->undone : findings->torn);
  if (!findings->first_of_them.empty()) return;
  findings->first_of_them = "after " + std::to_string(findings->cuts - 1) + " changes," +
                            TextOf(tree) + " load as " + testing::PrintToString(found);
}

const Texts &PowerLossCuts::Load(const Tree &tree) {
  const auto known = loaded_.find(tree);
  if (known != loaded_.end()) return known->second;
  for (const auto &entry : std::filesystem::directory_iterator(left_.path())) {
    std::filesystem::remove_all(entry);
  }
  for (const auto &[name, content] : tree) {
    if (name.back() == '/') {
      std::filesystem::create_directory(left_.path(name));
    } else {
      left_.write(name, content);
    }
  }
  fnQNFS_SetFullPath(left_.path().c_str());
  ForgetCache();
  Texts found;
  {
    FileFaults unforced;
    found = scenario_.load();
  }
  ForgetCache();
  fnQNFS_SetFullPath(root_.c_str());
  return loaded_[tree] = std::move(found);
}

}  // namespace qntest
