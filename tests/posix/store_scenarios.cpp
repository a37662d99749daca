// SPDX-License-Identifier: MIT
// Every act loads before it writes, as the stores want it.
#include "posix/store_scenarios.h"

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
  return {.name = "save",
          .prepare = [] { PlantRecords(kOld); },
          .act =
              [] {
                LoadRecords();
                return SaveRecords(ManyTexts());
              },
          .load = LoadRecords,
          .old_content = kOld,
          .new_content = ManyTexts(),
          .files = {"data/records"},
          .file = kRecordFile};
}

StoreScenario FirstSave() {
  return {.name = "first save",
          .prepare = [] { fnQNFS_MkDir("/data/"); },
          .act = [] { return SaveRecords(kOld); },
          .load = LoadRecords,
          .new_content = kOld,
          .files = {"data/records"}};
}

StoreScenario SaveAfterOneThatDied() {
  StoreScenario it = Save();
  it.name = "save after one that died";
  it.follows_one_that_died = true;
  return it;
}

StoreScenario Append() {
  return {.name = "append",
          .prepare = [] { PlantRecords(kOld); },
          .act =
              [] {
                LoadRecords();
                return AppendRecord("fourth");
              },
          .load = LoadRecords,
          .old_content = kOld,
          .new_content = {"first", "second", "third", "fourth"},
          .files = {"data/records"},
          .file = kRecordFile};
}

// A save that did not finish has left the old content beside the new, or alone.
StoreScenario LoadWithBackup(const char *name, bool is_alone) {
  return {.name = name,
          .prepare =
              [is_alone] {
                PlantRecords(kOld);
                LeaveABackup(kRecordFile);
                if (is_alone) fnQNFS_DeleteFile(kRecordFile);
              },
          .act = [] { return LoadRecords() == kOld; },
          .load = LoadRecords,
          .old_content = kOld,
          .new_content = kOld,
          .files = {"data/records"}};
}

StoreScenario OfTheCache(const char *name, const std::function<bool()> &act,
                         const std::set<std::string> &thrown_out, const Texts &new_content) {
  return {.name = name,
          .prepare =
              [] {
                PlantFullCache({"a", "b", "c"});
              },
          .act = StartCacheAnd(act),
          .load = DescribeCacheBut(thrown_out),
          .old_content = {"a#1 whole", "b#1 whole", "c#1 whole"},
          .new_content = new_content,
          .file = kIndexFile};
}

StoreScenario CacheSaveWithEviction() {
  return OfTheCache("cache save with eviction", [] { return SaveToCache("d", 1); }, {"c#1"},
                    {"d#1 whole", "a#1 whole", "b#1 whole"});
}

StoreScenario CacheSaveOfAKnownUrl() {
  return OfTheCache("cache save of a known URL", [] { return SaveToCache("b", 2); }, {"b#1"},
                    {"b#2 whole", "a#1 whole", "c#1 whole"});
}

StoreScenario CacheHit() {
  StoreScenario it =
      OfTheCache("cache hit", [] { return fnQNStack_Cache_FindbyUrl_NoExpired("c") != nullptr; },
                 {}, {"c#1 whole", "a#1 whole", "b#1 whole"});
  it.files = {"wap/ca/ca.txt", "wap/ca/20001", "wap/ca/20002", "wap/ca/20003"};
  return it;
}

StoreScenario CacheDeleteAll() {
  StoreScenario it =
      OfTheCache("cache delete all", [] { return fnQNStack_Cache_Delete_All() == 1; },
                 {"a#1", "b#1", "c#1"}, {});
  it.files = {"wap/ca/ca.txt"};
  return it;
}

StoreScenario IniWrite() {
  return {.name = "INI write",
          .prepare = PlantSettings,
          .act = [] { return WriteSetting("proxy", "10.0.0.2:9090"); },
          .load = LoadSettings,
          .old_content = {"proxy=10.0.0.1:8080", "timeout=30"},
          .new_content = {"proxy=10.0.0.2:9090", "timeout=30"},
          .files = {"data/settings.ini"},
          .file = kSettingsFile};
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
    dying.at = static_cast<int>(std::find(names.begin(), names.end(), "renameat") - names.begin());
  }
  ++dying.at;
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

std::string NameOf(const testing::TestParamInfo<StoreScenario> &test) {
  std::string name = test.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
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
    if (!entry.is_directory()) files.insert(std::filesystem::relative(entry.path(), root).string());
  }
  return files;
}

std::string ComplaintOfARun(const StoreScenario &scenario, const std::string &root) {
  ForgetCache();
  const bool done = scenario.act();
  ForgetCache();
  if (!done) return "a run later fails";
  const bool sweeps = scenario.files.empty();
  if (sweeps && fnQNStack_Cache_Delete_All() != 1) return "the cache is not swept";
  const std::set<std::string> swept = {"wap/ca/ca.txt"};
  const auto files = FilesBelow(root);
  if (files == (sweeps ? swept : scenario.files)) return "";
  return "files after a run later: " + testing::PrintToString(files);
}

}  // namespace qntest
