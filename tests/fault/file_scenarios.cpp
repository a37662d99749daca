// SPDX-License-Identifier: MIT
// Uses of the stores on a folder of their own, and loads of them.
#include <algorithm>
#include <limits>
#include <map>
#include <string>

#include "fault/scenario.h"
#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/store_scenarios.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/http_stack.h"
#include "support/scratch_folder.h"

namespace qntest {

namespace {

// The start could not load the index, so it counts nothing, and the save that
// could throws nothing out.
constexpr char kUncounted[] = "new and all the old, which the heap refused to count";

std::string Joined(const Texts &texts) {
  std::string joined;
  for (const std::string &text : texts) joined += text + ", ";
  return joined;
}

// Whether `part` is `whole` with some texts taken out.
bool IsPartOf(const Texts &part, const Texts &whole) {
  size_t matched = 0;
  for (const std::string &text : whole) {
    if (matched < part.size() && part[matched] == text) ++matched;
  }
  return matched == part.size();
}

// A folder as the root.
class FileScenario : public Scenario {
 protected:
  FileScenario() { fnQNFS_SetFullPath(folder_.path().c_str()); }
  ~FileScenario() override {
    ForgetCache();
    fnQNFS_SetFullPath("");
  }

  ScratchFolder folder_;
};

// An act on a store.
class StoreAct : public FileScenario {
 public:
  StoreAct(StoreScenario scenario, bool has_backup)
      : scenario_(std::move(scenario)), has_backup_(has_backup) {}

  void Prepare() override {
    PrepareStore(scenario_, folder_.path());
    FileFaults unforced;
    if (has_backup_) LeaveABackup(scenario_.file);
  }

  void Act() override {
    done_ = scenario_.act();
    ForgetCache();
  }

  bool Done() const override { return done_; }

  std::string Seen() const override { return done_ ? "done" : "failed"; }

  Verdict Judge(bool heap_refused) override {
    FileFaults unforced;
    const Verdict verdict = JudgeContent(scenario_.load(), heap_refused);
    if (!verdict.complaint.empty()) return verdict;
    const std::string left = ComplaintOfARun(scenario_, folder_.path());
    return left.empty() ? verdict : Broken(left);
  }

 private:
  Verdict JudgeContent(const Texts &found, bool heap_refused) const {
    if (found == scenario_.new_content) return {};
    if (found == scenario_.old_content) {
      if (!Done() || !MustBeStored()) return {};
      return Broken("success was reported, the content is old");
    }
    if (heap_refused && IsPartOf(scenario_.old_content, found) &&
        IsPartOf(scenario_.new_content, found)) {
      return Excepted(kUncounted);
    }
    return Broken("torn: " + Joined(found));
  }

  // A cache save is done when the body is stored, whatever became of the index,
  // and a hit when it is found.
  bool MustBeStored() const { return !std::string(scenario_.name).starts_with("cache"); }

  const StoreScenario scenario_;
  const bool has_backup_;
  bool done_ = false;
};

struct LoadScenario {
  const char *name;
  void (*save)();
  Texts (*load)();
  Texts saved;
  const char *file;  // the one that a save would keep a ".bak" of
};

// A load of what was saved before: it brings all, or the front of it.
class LoadAct : public FileScenario {
 public:
  LoadAct(LoadScenario scenario, bool has_backup)
      : scenario_(std::move(scenario)), has_backup_(has_backup) {}

  void Prepare() override {
    FileFaults unforced;
    fnQNFS_MkDir("/data/");
    scenario_.save();
    if (has_backup_) LeaveABackup(scenario_.file);
  }

  void Act() override {
    found_ = scenario_.load();
    ForgetCache();
  }

  bool Done() const override { return found_ == scenario_.saved; }
  std::string Seen() const override { return Joined(found_); }

  Verdict Judge(bool /*heap_refused*/) override {
    const Texts &saved = scenario_.saved;
    const bool front =
        found_.size() <= saved.size() && std::equal(found_.begin(), found_.end(), saved.begin());
    if (!front) return Broken("loaded: " + Seen());
    FileFaults unforced;
    const Texts later = scenario_.load();
    return later == saved ? Verdict() : Broken("the file holds: " + Joined(later));
  }

 private:
  const LoadScenario scenario_;
  const bool has_backup_;
  Texts found_;
};

const Texts kRecords = {"first", "second", "third"};
const Texts kSettings = {"agent=Handset/1.0", "proxy=10.0.0.1:8080", "timeout=30"};
const Texts kIndex = {"a NULL 20001", "b NULL 20002", "c NULL 20003"};
const Texts kBody = {"the body"};

void PlantThreeRecords() { SaveRecords(kRecords); }

void PlantThreeSettings() {
  for (const std::string &text : kSettings) {
    const size_t equals = text.find('=');
    WriteSetting(text.substr(0, equals), text.substr(equals + 1));
  }
}

void PlantIndex() { PlantFullCache({"a", "b", "c"}); }

Texts LoadIndex() {
  ForgetCache();
  fnQNStack_Cache_Init();
  Texts texts;
  for (const QNListNode *node = fnQNList_BeginIter(fnQNFS_http_cache_list()); node != nullptr;
       node = node->next) {
    const auto *entry = static_cast<const QNCacheEntry *>(node->data);
    const auto shown = [](const char *text) { return std::string(text == nullptr ? "?" : text); };
    texts.push_back(shown(entry->url) + " " + shown(entry->label) + " " +
                    std::to_string(entry->file_no));
  }
  return texts;
}

constexpr char kUrl[] = "http://mmsc.test/body";

void PlantBody() {
  fnQNStack_Cache_Init();
  fnQNStack_Cache_Save(kUrl, nullptr, kBody[0].data(), static_cast<int32_t>(kBody[0].size()),
                       std::numeric_limits<int32_t>::max(), 1);
  ForgetCache();
}

// A hit, and the body with it.
Texts LoadBody() {
  fnQNStack_Cache_Init();
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(kUrl);
  char body[64] = {};
  const bool whole = entry != nullptr && entry->size < static_cast<int32_t>(sizeof body) &&
                     fnQNStack_Cache_LoadFileToBuffer(entry->file_no, body, entry->size) == 0;
  ForgetCache();
  return whole ? Texts{body} : Texts{};
}

constexpr char kStoredAnswer[] = "/data/answer";

void PlantAnswer() {
  WriteText(kStoredAnswer, "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\nthe body");
}

// A stored answer, parsed and delivered as if it had been received.
Texts LoadAnswer() {
  const Context ctx(fnQNStack_Http_Open_Get("http://mmsc.test/"));
  if (ctx == nullptr || fnQNStack_Http_LoadReponseFromFile(ctx.get(), kStoredAnswer) != 0) {
    return {};
  }
  ctx->state = QN_HTTP_COMPLETE;
  char body[64] = {};
  return fnQNStack_Http_ReadRecvContext(ctx.get(), body, sizeof body) > 0 ? Texts{body} : Texts{};
}

constexpr char kStream[] = "/data/stream";

void PlantStream() { WriteText(kStream, kBody[0]); }

Texts LoadStream() {
  QNFSFile file = fnQNFS_File_Open(kStream, "rb");
  char bytes[64] = {};
  const int32_t count = fnQNFS_File_Read(bytes, 1, sizeof bytes, file);
  fnQNFS_File_Close(file);
  return count > 0 ? Texts{bytes} : Texts{};
}

std::vector<LoadScenario> LoadScenarios() {
  return {
      {"record load", PlantThreeRecords, LoadRecords, kRecords, kRecordFile},
      {"INI load", PlantThreeSettings, LoadSettings, kSettings, kSettingsFile},
      {"cache index load", PlantIndex, LoadIndex, kIndex, kIndexFile},
      {"cached hit with its body", PlantBody, LoadBody, kBody, kIndexFile},
      {"stored answer", PlantAnswer, LoadAnswer, kBody, nullptr},
      {"stream", PlantStream, LoadStream, kBody, nullptr},
  };
}

// What is excepted, by the scenario.
std::map<std::string, int> ExceptionsOf(const std::string &scenario) {
  if (scenario == "cache save with eviction") return {{kUncounted, 1}};
  return {};
}

// A scenario as it is, and where it has a file that may have one, with a ".bak" left.
template <typename Act, typename StoredScenario>
void Add(std::vector<ScenarioKind> &kinds, const StoredScenario &scenario) {
  for (const bool has_backup : {false, true}) {
    if (has_backup && scenario.file == nullptr) continue;
    ScenarioKind kind;
    kind.name = std::string(scenario.name) + (has_backup ? ", .bak left" : "");
    kind.make = [=] { return std::make_unique<Act>(scenario, has_backup); };
    kind.exceptions = ExceptionsOf(scenario.name);
    kind.has_backup = has_backup;
    kinds.push_back(std::move(kind));
  }
}

}  // namespace

std::vector<ScenarioKind> FileScenarios() {
  std::vector<ScenarioKind> kinds;
  for (const LoadScenario &scenario : LoadScenarios()) Add<LoadAct>(kinds, scenario);
  for (const StoreScenario &scenario : StoreScenarios()) Add<StoreAct>(kinds, scenario);
  return kinds;
}

}  // namespace qntest
