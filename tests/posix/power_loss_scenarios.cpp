// SPDX-License-Identifier: MIT
// The contents of the file operations are longer than what a medium writes in
// one step, so that they can be torn.
#include "posix/power_loss_scenarios.h"

#include <string>

#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"

namespace qntest {

namespace {

std::string LongText(char letter) { return std::string(1300, letter); }

const std::string kOldText = LongText('o');
const std::string kNewText = LongText('n');

// Two files with a content each, in a folder of their own.
StoreScenario WithFiles(const char *name, const std::function<bool()> &act,
                        const Texts &new_content) {
  return {.name = name,
          .prepare =
              [] {
                fnQNFS_MkDir("/a/");
                fnQNFS_MkDir("/b/");
                WriteText("/a/x", kOldText);
                WriteText("/a/y", kNewText);
              },
          .act = act,
          .load = ContentsOf({"/a/x", "/a/y"}),
          .old_content = {kOldText, kNewText},
          .new_content = new_content};
}

// In so many pieces that not all states can be looked at.
StoreScenario Write() {
  const std::string text(20000, 'w');
  return WithFiles("write", [=] { return WriteText("/a/x", text) > 0; }, {text, kNewText});
}

StoreScenario Copy() {
  return WithFiles("copy", [] { return fnQNFS_CopyFile("/a/x", "/a/y") == 1; },
                   {kNewText, kNewText});
}

StoreScenario CopyToANewName() {
  StoreScenario it =
      WithFiles("copy to a new name", [] { return fnQNFS_CopyFile("/b/x", "/a/y") == 1; },
                {kNewText, kNewText});
  it.load = ContentsOf({"/b/x", "/a/y"});
  it.old_content = {kNoFile, kNewText};
  return it;
}

StoreScenario Move() {
  return WithFiles("move", [] { return fnQNFS_MoveFile("/a/x", "/a/y") == 1; },
                   {kNewText, kNoFile});
}

// Meanwhile the file may have both names.
StoreScenario MoveToAnotherFolder() {
  StoreScenario it =
      WithFiles("move to another folder", [] { return fnQNFS_MoveFile("/b/z", "/a/y") == 1; },
                {kNoFile, kNewText});
  it.load = [] {
    const Texts both = {kNewText, kNewText};
    const Texts found = ContentsOf({"/a/y", "/b/z"})();
    return found == both ? Texts{kNewText, kNoFile} : found;
  };
  it.old_content = {kNewText, kNoFile};
  return it;
}

// What is deleted may come back, whole.
StoreScenario DeleteAll() {
  StoreScenario it =
      WithFiles("delete all", [] { return fnQNFS_DelAllFiles("/a/") == 1; }, {kNoFile, kNoFile});
  it.load = [] {
    const Texts whole = {kOldText, kNewText};
    Texts found = ContentsOf({"/a/x", "/a/y"})();
    for (size_t i = 0; i < whole.size(); ++i) {
      if (found[i] == whole[i]) found[i] = kNoFile;
    }
    return found;
  };
  it.old_content = it.new_content;
  return it;
}

// What was there stays; of what is added a part may be there.
StoreScenario AppendInPlace(const char *name, const char *file, const std::string &before) {
  StoreScenario it =
      WithFiles(name, [=] { return AppendText(file, kNewText) > 0; }, {before + kNewText});
  it.load = [=] {
    Texts found = ContentsOf({file})();
    if (found[0] == kNoFile) found[0] = "";
    if (found[0] != before + kNewText) found[0].resize(before.size());
    return found;
  };
  it.old_content = {before};
  return it;
}

StoreScenario FirstSaveInANewFolder() {
  return {.name = "first save in a new folder",
          .prepare = [] {},
          .act = [] { return fnQNFS_MkDir("/data/") == 1 && SaveRecords({"first"}); },
          .load = LoadRecords,
          .new_content = {"first"}};
}

// A save that keeps a ".bak" has not finished.
StoreScenario BesideABackup(const char *name, const std::function<bool()> &act,
                            const Texts &new_content) {
  return {.name = name,
          .prepare =
              [] {
                fnQNFS_MkDir("/data/");
                SaveRecords({"first"});
                LeaveABackup(kRecordFile);
              },
          .act = act,
          .load = LoadRecords,
          .old_content = {"first"},
          .new_content = new_content};
}

}  // namespace

std::function<Texts()> ContentsOf(const std::vector<const char *> &names) {
  return [names] {
    Texts found;
    for (const char *name : names) found.push_back(ReadText(name));
    return found;
  };
}

std::vector<StoreScenario> PowerLossScenarios() {
  std::vector<StoreScenario> all = StoreScenarios();
  for (const StoreScenario &more :
       {BesideABackup("save beside a backup", [] { return SaveRecords({"second"}); }, {"second"}),
        BesideABackup("append beside a backup", [] { return AppendRecord("second"); },
                      {"first", "second"}),
        Write(), Copy(), CopyToANewName(), Move(), MoveToAnotherFolder(), DeleteAll(),
        AppendInPlace("append in place", "/a/x", kOldText),
        AppendInPlace("first append in place", "/b/z", ""), FirstSaveInANewFolder()}) {
    all.push_back(more);
  }
  return all;
}

}  // namespace qntest
