// SPDX-License-Identifier: MIT
// Every act loads before it writes, as the stores want it.
#include "posix/store_scenarios.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <ostream>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/call_faults.h"

namespace qntest {

namespace {

const Texts kOld = {"first", "second", "third"};

Texts ManyTexts() {
  Texts texts;
  for (int i = 0; i < 300; ++i) texts.push_back("element " + std::to_string(i));
  return texts;
}

// What the cache holds: for each URL, found first, its tag and its body's state.
Texts DescribeCache() {
  std::set<std::string> seen;
  Texts texts;
  for (const CachedBody &entry : LoadCache()) {
    if (!seen.insert(entry.url).second) continue;
    constexpr const char *kStates[] = {" whole", " missing", " torn"};
    texts.push_back(entry.url + "#" + std::to_string(entry.tag) +
                    kStates[static_cast<int>(entry.state)]);
  }
  return texts;
}

// Bodies of entries that the act throws out may be missing under the old index:
// a lookup then finds no body, as it does when the entry is gone.
std::function<Texts()> DescribeCacheBut(const std::set<std::string> &thrown_out) {
  return [thrown_out] {
    Texts texts = DescribeCache();
    for (std::string &text : texts) {
      const std::string entry = text.substr(0, text.find(' '));
      if (thrown_out.count(entry) != 0 && text == entry + " missing") text = entry + " whole";
    }
    return texts;
  };
}

void PlantCache() { PlantFullCache({"a", "b", "c"}); }

const Texts kPlanted = {"a#1 whole", "b#1 whole", "c#1 whole"};

std::function<bool()> StartCacheAnd(const std::function<bool()> &act) {
  return [act] {
    ForgetCache();
    fnQNStack_Cache_Init();
    const bool done = act();
    ForgetCache();
    return done;
  };
}

void PlantRecords(const Texts &texts) {
  fnQNFS_MkDir("/data/");
  SaveRecords(texts);
}

void PlantSettings() {
  fnQNFS_MkDir("/data/");
  WriteSetting("proxy", "10.0.0.1:8080");
  WriteSetting("timeout", "30");
}

StoreScenario Save() {
  StoreScenario it;
  it.name = "save";
  it.prepare = [] { PlantRecords(kOld); };
  it.act = [] {
    LoadRecords();
    return SaveRecords(ManyTexts());
  };
  it.load = LoadRecords;
  it.old_content = kOld;
  it.new_content = ManyTexts();
  it.files = {"data/records"};
  it.file = kRecordFile;
  return it;
}

StoreScenario FirstSave() {
  StoreScenario it;
  it.name = "first save";
  it.prepare = [] { fnQNFS_MkDir("/data/"); };
  it.act = [] { return SaveRecords(kOld); };
  it.load = LoadRecords;
  it.new_content = kOld;
  it.files = {"data/records"};
  return it;
}

StoreScenario SaveAfterOneThatDied() {
  StoreScenario it = Save();
  it.name = "save after one that died";
  it.follows_one_that_died = true;
  return it;
}

StoreScenario Append() {
  StoreScenario it;
  it.name = "append";
  it.prepare = [] { PlantRecords(kOld); };
  it.act = [] {
    LoadRecords();
    return AppendRecord("fourth");
  };
  it.load = LoadRecords;
  it.old_content = kOld;
  it.new_content = {"first", "second", "third", "fourth"};
  it.files = {"data/records"};
  it.file = kRecordFile;
  return it;
}

// A save that did not finish has left the old content beside the new, or alone.
StoreScenario LoadWithBackup(const char *name, bool is_alone) {
  StoreScenario it;
  it.name = name;
  it.prepare = [is_alone] {
    PlantRecords(kOld);
    LeaveABackup(kRecordFile);
    if (is_alone) fnQNFS_DeleteFile(kRecordFile);
  };
  it.act = [] { return LoadRecords() == kOld; };
  it.load = LoadRecords;
  it.old_content = kOld;
  it.new_content = kOld;
  it.files = {"data/records"};
  return it;
}

StoreScenario CacheSaveWithEviction() {
  StoreScenario it;
  it.name = "cache save with eviction";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return SaveToCache("d", 1); });
  it.load = DescribeCacheBut({"c#1"});
  it.old_content = kPlanted;
  it.file = kIndexFile;
  it.new_content = {"d#1 whole", "a#1 whole", "b#1 whole"};
  return it;
}

StoreScenario CacheSaveOfAKnownUrl() {
  StoreScenario it;
  it.name = "cache save of a known URL";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return SaveToCache("b", 2); });
  it.load = DescribeCacheBut({"b#1"});
  it.old_content = kPlanted;
  it.file = kIndexFile;
  it.new_content = {"b#2 whole", "a#1 whole", "c#1 whole"};
  return it;
}

StoreScenario CacheHit() {
  StoreScenario it;
  it.name = "cache hit";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return fnQNStack_Cache_FindbyUrl_NoExpired("c") != nullptr; });
  it.load = DescribeCache;
  it.old_content = kPlanted;
  it.file = kIndexFile;
  it.new_content = {"c#1 whole", "a#1 whole", "b#1 whole"};
  it.files = {"wap/ca/ca.txt", "wap/ca/20001", "wap/ca/20002", "wap/ca/20003"};
  return it;
}

StoreScenario CacheDeleteAll() {
  StoreScenario it;
  it.name = "cache delete all";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return fnQNStack_Cache_Delete_All() == 1; });
  it.load = DescribeCacheBut({"a#1", "b#1", "c#1"});
  it.old_content = kPlanted;
  it.file = kIndexFile;
  it.files = {"wap/ca/ca.txt"};
  return it;
}

StoreScenario IniWrite() {
  StoreScenario it;
  it.name = "INI write";
  it.prepare = PlantSettings;
  it.act = [] { return WriteSetting("proxy", "10.0.0.2:9090"); };
  it.load = LoadSettings;
  it.old_content = {"proxy=10.0.0.1:8080", "timeout=30"};
  it.new_content = {"proxy=10.0.0.2:9090", "timeout=30"};
  it.files = {"data/settings.ini"};
  it.file = kSettingsFile;
  return it;
}

StoreScenario IniWriteByWalking() {
  StoreScenario it = IniWrite();
  it.name = "INI write by walked names";
  it.act = [act = it.act] {
    const NoResolving walked(ENOSYS);
    return act();
  };
  return it;
}

// Runs an act on a medium that dies when the new content is to be put in place.
void LetDie(const std::function<bool()> &act) {
  CallFault dying = {.onwards = true};
  {
    const CallFaults refused(kFileCalls, {.every = "renameat"});
    act();
    const auto &names = refused.Names();
    const auto found = std::find(names.begin(), names.end(), "renameat");
    dying.at = static_cast<int>(found - names.begin()) + 1;
  }
  const CallFaults faults(kFileCalls, dying);
  act();
}

}  // namespace

std::vector<StoreScenario> StoreScenarios() {
  return {Save(),
          SaveAfterOneThatDied(),
          FirstSave(),
          Append(),
          LoadWithBackup("load with a backup", false),
          LoadWithBackup("load with a backup alone", true),
          CacheSaveWithEviction(),
          CacheSaveOfAKnownUrl(),
          CacheHit(),
          CacheDeleteAll(),
          IniWrite(),
          IniWriteByWalking()};
}

void PrintTo(const StoreScenario &scenario, std::ostream *out) { *out << scenario.name; }

void PrepareStore(const StoreScenario &scenario, const std::string &root) {
  ForgetCache();
  for (const auto &entry : std::filesystem::directory_iterator(root)) {
    std::filesystem::remove_all(entry);
  }
  {
    FileFaults unforced;  // nothing here needs to reach the medium
    scenario.prepare();
  }
  if (scenario.follows_one_that_died) LetDie(scenario.act);
}

void LeaveABackup(const char *file) {
  fnQNFS_MoveFile((std::string(file) + ".bak").c_str(), file);
  AppendText(file, "half of a new co");
}

std::set<std::string> FilesBelow(const std::string &root) {
  std::set<std::string> files;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_directory()) {
      files.insert(std::filesystem::relative(entry.path(), root).string());
    }
  }
  return files;
}

void ExpectARunCleansUp(const StoreScenario &scenario, const std::string &root) {
  FileFaults unforced;
  ForgetCache();
  EXPECT_TRUE(scenario.act());
  ForgetCache();
  if (scenario.files.empty()) {
    EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
    EXPECT_EQ(FilesBelow(root), std::set<std::string>{"wap/ca/ca.txt"});
  } else {
    EXPECT_EQ(FilesBelow(root), scenario.files);
  }
}

}  // namespace qntest
