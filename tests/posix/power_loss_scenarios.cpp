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
StoreScenario WithFiles(const char *name, const std::function<bool()> &act) {
  StoreScenario it;
  it.name = name;
  it.prepare = [] {
    fnQNFS_MkDir("/a/");
    fnQNFS_MkDir("/b/");
    WriteText("/a/x", kOldText);
    WriteText("/a/y", kNewText);
  };
  it.act = act;
  it.load = ContentsOf({"/a/x", "/a/y"});
  it.old_content = {kOldText, kNewText};
  return it;
}

// In so many pieces that not all states can be looked at.
StoreScenario Write() {
  const std::string text(20000, 'w');
  StoreScenario it = WithFiles("write", [=] { return WriteText("/a/x", text) > 0; });
  it.new_content = {text, kNewText};
  return it;
}

StoreScenario Copy() {
  StoreScenario it = WithFiles("copy", [] { return fnQNFS_CopyFile("/a/x", "/a/y") == 1; });
  it.new_content = {kNewText, kNewText};
  return it;
}

StoreScenario CopyToANewName() {
  StoreScenario it =
      WithFiles("copy to a new name", [] { return fnQNFS_CopyFile("/b/x", "/a/y") == 1; });
  it.load = ContentsOf({"/b/x", "/a/y"});
  it.old_content = {kNoFile, kNewText};
  it.new_content = {kNewText, kNewText};
  return it;
}

StoreScenario Move() {
  StoreScenario it = WithFiles("move", [] { return fnQNFS_MoveFile("/a/x", "/a/y") == 1; });
  it.new_content = {kNewText, kNoFile};
  return it;
}

// Meanwhile the file may have both names.
StoreScenario MoveToAnotherFolder() {
  StoreScenario it =
      WithFiles("move to another folder", [] { return fnQNFS_MoveFile("/b/z", "/a/y") == 1; });
  it.load = [] {
    const Texts both = {kNewText, kNewText};
    const Texts found = ContentsOf({"/a/y", "/b/z"})();
    return found == both ? Texts{kNewText, kNoFile} : found;
  };
  it.old_content = {kNewText, kNoFile};
  it.new_content = {kNoFile, kNewText};
  return it;
}

// What is deleted may come back, whole.
StoreScenario DeleteAll() {
  StoreScenario it = WithFiles("delete all", [] { return fnQNFS_DelAllFiles("/a/") == 1; });
  it.load = [] {
    const Texts whole = {kOldText, kNewText};
    Texts found = ContentsOf({"/a/x", "/a/y"})();
    for (size_t i = 0; i < whole.size(); ++i) {
      if (found[i] == whole[i]) found[i] = kNoFile;
    }
    return found;
  };
  it.old_content = {kNoFile, kNoFile};
  it.new_content = it.old_content;
  return it;
}

// What was there stays; of what is added a part may be there.
StoreScenario AppendInPlace() {
  StoreScenario it = WithFiles("append in place", [] { return AppendText("/a/x", kNewText) > 0; });
  it.load = [] {
    Texts found = ContentsOf({"/a/x"})();
    if (found[0] != kOldText + kNewText) found[0].resize(kOldText.size());
    return found;
  };
  it.old_content = {kOldText};
  it.new_content = {kOldText + kNewText};
  return it;
}

StoreScenario FirstAppendInPlace() {
  StoreScenario it =
      WithFiles("first append in place", [] { return AppendText("/b/z", kNewText) > 0; });
  it.load = [] {
    Texts found = ContentsOf({"/b/z"})();
    if (found[0] != kNewText) found[0] = "";
    return found;
  };
  it.old_content = {""};
  it.new_content = {kNewText};
  return it;
}

StoreScenario FirstSaveInANewFolder() {
  StoreScenario it;
  it.name = "first save in a new folder";
  it.prepare = [] {};
  it.act = [] { return fnQNFS_MkDir("/data/") == 1 && SaveRecords({"first"}); };
  it.load = LoadRecords;
  it.new_content = {"first"};
  return it;
}

// A save that keeps a ".bak" has not finished.
StoreScenario BesideABackup(const char *name, const std::function<bool()> &act) {
  StoreScenario it;
  it.name = name;
  it.prepare = [] {
    fnQNFS_MkDir("/data/");
    SaveRecords({"first"});
    fnQNFS_MoveFile("/data/records.bak", kRecordFile);
    AppendText(kRecordFile, "half of a new co");
  };
  it.act = act;
  it.load = LoadRecords;
  it.old_content = {"first"};
  return it;
}

StoreScenario SaveBesideABackup() {
  StoreScenario it = BesideABackup("save beside a backup", [] { return SaveRecords({"second"}); });
  it.new_content = {"second"};
  return it;
}

StoreScenario AppendBesideABackup() {
  StoreScenario it = BesideABackup("append beside a backup", [] { return AppendRecord("second"); });
  it.new_content = {"first", "second"};
  return it;
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
       {SaveBesideABackup(), AppendBesideABackup(), Write(), Copy(), CopyToANewName(), Move(),
        MoveToAnotherFolder(), DeleteAll(), AppendInPlace(), FirstAppendInPlace(),
        FirstSaveInANewFolder()}) {
    all.push_back(more);
  }
  return all;
}

}  // namespace qntest
