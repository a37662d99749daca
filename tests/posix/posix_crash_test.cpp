// Guards the stores against failing calls and a process that ends: each
// scenario is run once for every call that it makes, for every way in which
// that call can go wrong. Afterwards a program that starts anew finds the old
// content or the new, complete, and the same scenario, undisturbed, succeeds
// and leaves no file that it did not mean to make.
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <ostream>
#include <set>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http_cache.h"

namespace {

using namespace qntest;

const Texts kOld = {"first", "second", "third"};

Texts ManyTexts() {
  Texts texts;
  for (int i = 0; i < 300; ++i) texts.push_back("element " + std::to_string(i));
  return texts;
}

struct Outcome {
  bool done = false;
  // False where a failing call kept the old content from being taken along: the
  // load found nothing, which it cannot tell from a file that is not there, or
  // an append could not copy the content aside back.
  bool took_old_along = true;
};

struct Scenario {
  const char *name = "";
  std::function<void()> prepare;  // the files, made from nothing
  std::function<Outcome()> act;   // as a program that starts anew
  std::function<Texts()> load;    // what a program that starts anew finds
  Texts old_content;
  Texts new_content;
  Texts new_alone;              // without what was there, see Outcome
  std::set<std::string> files;  // that are there after a success, below the root
};

void PrintTo(const Scenario &scenario, std::ostream *out) { *out << scenario.name; }

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

std::function<Outcome()> StartCacheAnd(const std::function<bool()> &act) {
  return [act] {
    ForgetCache();
    fnQNStack_Cache_Init();
    Outcome outcome;
    outcome.took_old_along = fnQNList_BeginIter(fnQNFS_http_cache_list()) != nullptr;
    outcome.done = act();
    ForgetCache();
    return outcome;
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

Scenario Save() {
  Scenario it;
  it.name = "save";
  it.prepare = [] { PlantRecords(kOld); };
  it.act = [] {
    LoadRecords();
    return Outcome{SaveRecords(ManyTexts())};
  };
  it.load = LoadRecords;
  it.old_content = kOld;
  it.new_content = ManyTexts();
  it.files = {"data/records"};
  return it;
}

Scenario FirstSave() {
  Scenario it;
  it.name = "first save";
  it.prepare = [] { fnQNFS_MkDir("/data/"); };
  it.act = [] { return Outcome{SaveRecords(kOld)}; };
  it.load = LoadRecords;
  it.new_content = kOld;
  it.files = {"data/records"};
  return it;
}

Scenario Append() {
  Scenario it;
  it.name = "append";
  it.prepare = [] { PlantRecords(kOld); };
  it.act = [] {
    LoadRecords();
    const bool done = AppendRecord("fourth");
    return Outcome{done, !done || fnQNFS_getFileSize(kRecordFile) != sizeof "fourth"};
  };
  it.load = LoadRecords;
  it.old_content = kOld;
  it.new_content = {"first", "second", "third", "fourth"};
  it.new_alone = {"fourth"};
  it.files = {"data/records"};
  return it;
}

// A save that did not finish has left the old content beside the new, or alone.
Scenario LoadWithBackup(const char *name, bool is_alone) {
  Scenario it;
  it.name = name;
  it.prepare = [is_alone] {
    PlantRecords(kOld);
    fnQNFS_MoveFile("/data/records.bak", kRecordFile);
    if (!is_alone) AppendText(kRecordFile, "half of a new co");
  };
  it.act = [] { return Outcome{LoadRecords() == kOld}; };
  it.load = LoadRecords;
  it.old_content = kOld;
  it.new_content = kOld;
  it.files = {"data/records"};
  return it;
}

Scenario CacheSaveWithEviction() {
  Scenario it;
  it.name = "cache save with eviction";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return SaveToCache("d", 1); });
  it.load = DescribeCacheBut({"c#1"});
  it.old_content = kPlanted;
  it.new_content = {"d#1 whole", "a#1 whole", "b#1 whole"};
  it.new_alone = {"d#1 whole"};
  return it;
}

Scenario CacheSaveOfAKnownUrl() {
  Scenario it;
  it.name = "cache save of a known URL";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return SaveToCache("b", 2); });
  it.load = DescribeCacheBut({"b#1"});
  it.old_content = kPlanted;
  it.new_content = {"b#2 whole", "a#1 whole", "c#1 whole"};
  it.new_alone = {"b#2 whole"};
  return it;
}

Scenario CacheHit() {
  Scenario it;
  it.name = "cache hit";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return fnQNStack_Cache_FindbyUrl_NoExpired("c") != nullptr; });
  it.load = DescribeCache;
  it.old_content = kPlanted;
  it.new_content = {"c#1 whole", "a#1 whole", "b#1 whole"};
  it.files = {"wap/ca/ca.txt", "wap/ca/20001", "wap/ca/20002", "wap/ca/20003"};
  return it;
}

Scenario CacheDeleteAll() {
  Scenario it;
  it.name = "cache delete all";
  it.prepare = PlantCache;
  it.act = StartCacheAnd([] { return fnQNStack_Cache_Delete_All() == 1; });
  it.load = DescribeCacheBut({"a#1", "b#1", "c#1"});
  it.old_content = kPlanted;
  it.files = {"wap/ca/ca.txt"};
  return it;
}

Scenario IniWrite() {
  Scenario it;
  it.name = "INI write";
  it.prepare = PlantSettings;
  it.act = [] {
    Outcome outcome;
    outcome.done = WriteSetting("proxy", "10.0.0.2:9090", &outcome.took_old_along);
    return outcome;
  };
  it.load = LoadSettings;
  it.old_content = {"proxy=10.0.0.1:8080", "timeout=30"};
  it.new_content = {"proxy=10.0.0.2:9090", "timeout=30"};
  it.new_alone = {"proxy=10.0.0.2:9090"};
  it.files = {"data/settings.ini"};
  return it;
}

class PosixCrash : public PosixRoot, public testing::WithParamInterface<Scenario> {
 protected:
  ~PosixCrash() override { ForgetCache(); }

  // An empty root, then the scenario's files.
  void Prepare() {
    ForgetCache();
    for (const auto &entry : std::filesystem::directory_iterator(folder_.path())) {
      std::filesystem::remove_all(entry);
    }
    FileFaults unforced;  // nothing here needs to reach the medium
    GetParam().prepare();
  }

  // The calls that the undisturbed scenario makes.
  std::vector<std::string_view> CallsOfTheScenario() {
    Prepare();
    FileFaults faults;
    EXPECT_TRUE(GetParam().act().done);
    return faults.Names();
  }

  std::set<std::string> Files() const {
    std::set<std::string> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder_.path())) {
      if (!entry.is_directory()) {
        files.insert(std::filesystem::relative(entry.path(), folder_.path()).string());
      }
    }
    return files;
  }

  // A program that starts anew finds one content or the other.
  void ExpectOldOrNew(const Outcome &outcome, bool expect_new) {
    FileFaults unforced;
    const Texts found = GetParam().load();
    const bool is_old = !expect_new && found == GetParam().old_content;
    const bool is_alone = !outcome.took_old_along && found == GetParam().new_alone;
    EXPECT_TRUE(is_old || is_alone || found == GetParam().new_content)
        << testing::PrintToString(found);
    alone_ += is_alone ? 1 : 0;
  }

  // Undisturbed, the scenario succeeds on what it finds, and the cache's own
  // sweeping takes what is left.
  void ExpectARunCleansUp() {
    FileFaults unforced;
    ForgetCache();
    EXPECT_TRUE(GetParam().act().done);
    ForgetCache();
    if (GetParam().files.empty()) {
      EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
      EXPECT_EQ(Files(), std::set<std::string>{"wap/ca/ca.txt"});
    } else {
      EXPECT_EQ(Files(), GetParam().files);
    }
  }

  // True where the port carries on by itself: the act must then have succeeded.
  static bool MustSucceed(const FileFault &fault, std::string_view call) {
    static const std::set<std::string_view> kCarriedOn = {"read",  "write",   "pread", "pwrite",
                                                          "flock", "openat2", "close"};
    return fault.kind == FaultKind::kShort ||
           (fault.kind == FaultKind::kFail && fault.error == EINTR && kCarriedOn.count(call) != 0);
  }

  // Runs the scenario with the fault at each of its calls in turn; the number
  // of points.
  int RunAtEveryCall(FileFault fault) {
    const std::vector<std::string_view> calls = CallsOfTheScenario();
    const bool ends = fault.kind == FaultKind::kEnd || fault.kind == FaultKind::kEndWithin;
    const int stride = ends ? QNSTACK_END_STRIDE : 1;
    for (fault.at = 1; fault.at <= static_cast<int>(calls.size()); fault.at += stride) {
      const std::string_view call = calls[static_cast<size_t>(fault.at) - 1];
      SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(fault.kind) << ", error "
                                      << fault.error << ", call " << fault.at << " " << call);
      Prepare();
      const int descriptors = OpenDescriptors();
      Outcome outcome;
      const auto act = [&] {
        FileFaults faults(fault);
        outcome = GetParam().act();
      };
      if (ends) {
        EXPECT_EQ(StatusOf(act), FileFaults::kEndStatus);
      } else {
        act();
        EXPECT_EQ(OpenDescriptors(), descriptors);
      }
      ForgetCache();
      const bool must = MustSucceed(fault, call);
      EXPECT_TRUE(outcome.done || !must);
      ExpectOldOrNew(outcome, must);
      ExpectARunCleansUp();
      if (HasFailure()) return 0;
    }
    return (static_cast<int>(calls.size()) + stride - 1) / stride;
  }

  int alone_ = 0;  // points that left the new content without the old, see Outcome
};

INSTANTIATE_TEST_SUITE_P(Scenarios, PosixCrash,
                         testing::Values(Save(), FirstSave(), Append(),
                                         LoadWithBackup("load with a backup", false),
                                         LoadWithBackup("load with a backup alone", true),
                                         CacheSaveWithEviction(), CacheSaveOfAKnownUrl(),
                                         CacheHit(), CacheDeleteAll(), IniWrite()),
                         [](const auto &test) {
                           std::string name = test.param.name;
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

TEST_P(PosixCrash, UndisturbedGivesTheNewContent) {
  const std::vector<std::string_view> calls = CallsOfTheScenario();

  EXPECT_EQ(GetParam().load(), GetParam().new_content);
  EXPECT_GT(calls.size(), 10U);
  if (!GetParam().files.empty()) {
    EXPECT_EQ(Files(), GetParam().files);
  }
}

TEST_P(PosixCrash, LeavesOldOrNewWhicheverCallFails) {
  int points = 0;
  for (const FileFault &fault :
       {FileFault{FaultKind::kFail, 0, EIO}, FileFault{FaultKind::kFail, 0, ENOSPC},
        FileFault{FaultKind::kFail, 0, EINTR}, FileFault{FaultKind::kShort}}) {
    points += RunAtEveryCall(fault);
  }
  std::printf("%s: %d points, one failing call each; new without old at %d\n", GetParam().name,
              points, alone_);
  EXPECT_GT(points, 0);
}

TEST_P(PosixCrash, LeavesOldOrNewWhereverTheMediumDiesOrFills) {
  int points = 0;
  for (const FileFault &fault : {FileFault{FaultKind::kFailOnwards, 0, EIO},
                                 FileFault{FaultKind::kFullOnwards, 0, ENOSPC}}) {
    points += RunAtEveryCall(fault);
  }
  std::printf("%s: %d points, everything after one failing\n", GetParam().name, points);
  EXPECT_GT(points, 0);
}

TEST_P(PosixCrash, LeavesOldOrNewWhereverTheProcessEnds) {
  int points = 0;
  for (const FaultKind kind : {FaultKind::kEnd, FaultKind::kEndWithin}) {
    points += RunAtEveryCall({kind, 0, 0});
  }
  std::printf("%s: %d points, the process ending\n", GetParam().name, points);
  EXPECT_GT(points, 0);
}

}  // namespace
