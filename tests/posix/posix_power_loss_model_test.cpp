// SPDX-License-Identifier: MIT
// Guards the model of power loss itself: it sees what the calls do, it permits
// exactly the states that it should, and it finds what faulty sequences lose.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "posix/posix_root.h"
#include "posix/power_loss_cuts.h"
#include "posix/power_loss_log.h"
#include "posix/power_loss_scenarios.h"
#include "posix/power_loss_states.h"

namespace {

using namespace qntest;
using testing::AllOf;
using testing::Gt;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Le;
using testing::SizeIs;

// Neither fits into what a medium writes in one step.
const std::string kOldText(1100, 'o');
const std::string kNewText(1300, 'n');

// The result of a call that is not expected to fail.
void MustDo(int result) { EXPECT_EQ(result, 0); }

// Opens a name in a folder, and closes it at the end.
class Opened {
 public:
  Opened(int folder, const char *name, int flags) : fd_(openat(folder, name, flags, 0600)) {}
  ~Opened() { close(fd_); }
  Opened(const Opened &) = delete;
  Opened &operator=(const Opened &) = delete;

  int Get() const { return fd_; }
  void Write(std::string_view text) const {
    EXPECT_EQ(write(fd_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void Sync() const { MustDo(fsync(fd_)); }

 private:
  const int fd_;
};

class PosixPowerLossModel : public PosixRoot {
 protected:
  PosixPowerLossModel() {
    folder_.write("x", kOldText);
    x_.load = ContentsOf({"/x"});
    x_.old_content = {kOldText};
    x_.new_content = {kNewText};
  }

  MediumRecord RecordOfCalls(const std::function<void()> &calls) const {
    return RecordOf(
        [&] {
          calls();
          return true;
        },
        folder_.path());
  }

  // What cuts find where these calls are to replace x.
  PowerLossFindings Cut(const std::function<void()> &calls) {
    return PowerLossCuts(x_, folder_.path()).Cut(RecordOfCalls(calls));
  }

  // What a cut behind these calls may leave.
  std::set<Tree> StatesAfter(const std::function<void()> &calls) const {
    const MediumRecord record = RecordOfCalls(calls);
    PowerLossStates states(record);
    for (const MediumChange &change : record.changes) states.Apply(change);
    return states.AfterACut(1000);
  }

  // The steps of a replacement.
  void WriteTemporary(bool is_synced) const {
    const Opened temporary(root_.Get(), "t", O_WRONLY | O_CREAT | O_EXCL);
    temporary.Write(kNewText);
    if (is_synced) temporary.Sync();
  }
  void Rename() const { MustDo(renameat(root_.Get(), "t", root_.Get(), "x")); }
  void SyncRoot() const { root_.Sync(); }

  StoreScenario x_;
  const Opened root_{AT_FDCWD, folder_.path().c_str(), O_RDONLY | O_DIRECTORY};
};

TEST_F(PosixPowerLossModel, FindsNoFaultInAReplacementThatIsSynced) {
  const PowerLossFindings found = Cut([this] {
    WriteTemporary(true);
    Rename();
    SyncRoot();
  });

  EXPECT_EQ(found.Violations(), 0U) << found.first_of_them;
  EXPECT_EQ(found.cuts, 6U);
  EXPECT_GT(found.states, 20U);
}

TEST_F(PosixPowerLossModel, FindsWhatIsTornWhereTheFileIsNotSynced) {
  const PowerLossFindings found = Cut([this] {
    WriteTemporary(false);
    Rename();
    SyncRoot();
  });

  EXPECT_GT(found.torn, 0U);
  EXPECT_EQ(found.undone, 0U);
}

TEST_F(PosixPowerLossModel, FindsWhatIsUndoneWhereTheFolderIsNotSynced) {
  const PowerLossFindings found = Cut([this] {
    WriteTemporary(true);
    Rename();
  });

  EXPECT_EQ(found.torn, 0U);
  EXPECT_GT(found.undone, 0U);
}

TEST_F(PosixPowerLossModel, FindsWhatIsTornByWritingInPlace) {
  const PowerLossFindings found = Cut([this] {
    const Opened file(root_.Get(), "x", O_WRONLY | O_TRUNC);
    file.Write(kNewText);
    file.Sync();
  });

  EXPECT_GT(found.torn, 0U);
  EXPECT_EQ(found.undone, 0U);
}

TEST_F(PosixPowerLossModel, FindsWhatIsMissingWhereTheOldFileIsDeletedFirst) {
  const PowerLossFindings found = Cut([this] {
    WriteTemporary(true);
    SyncRoot();
    MustDo(unlinkat(root_.Get(), "x", 0));
    Rename();
    SyncRoot();
  });

  EXPECT_GT(found.torn, 0U);
  EXPECT_THAT(found.first_of_them, HasSubstr("(failure)"));
  EXPECT_EQ(found.undone, 0U);
}

TEST_F(PosixPowerLossModel, TearsAWriteAtMultiplesOf512) {
  const std::string old_text(700, 'o');
  folder_.write("x", old_text);

  const std::set<Tree> states =
      StatesAfter([this] { Opened(root_.Get(), "x", O_WRONLY).Write(std::string(700, 'n')); });

  const std::string first = std::string(512, 'n') + std::string(188, 'o');
  const std::string second = std::string(512, 'o') + std::string(188, 'n');
  EXPECT_EQ(
      states,
      (std::set<Tree>{
          {{"x", old_text}}, {{"x", first}}, {{"x", second}}, {{"x", std::string(700, 'n')}}}));
}

TEST_F(PosixPowerLossModel, MayLeaveANewLengthWithoutItsBytes) {
  folder_.write("x", "ab");

  const std::set<Tree> states =
      StatesAfter([this] { Opened(root_.Get(), "x", O_WRONLY | O_APPEND).Write("cd"); });

  EXPECT_EQ(states,
            (std::set<Tree>{{{"x", "ab"}}, {{"x", std::string("ab\0\0", 4)}}, {{"x", "abcd"}}}));
}

TEST_F(PosixPowerLossModel, MayLeaveATruncationOut) {
  folder_.write("x", "abcd");

  const std::set<Tree> states =
      StatesAfter([this] { MustDo(ftruncate(Opened(root_.Get(), "x", O_WRONLY).Get(), 2)); });

  EXPECT_EQ(states,
            (std::set<Tree>{{{"x", "ab"}}, {{"x", std::string("ab\0\0", 4)}}, {{"x", "abcd"}}}));
}

TEST_F(PosixPowerLossModel, NamesAFileByARenameAlone) {
  const std::set<Tree> states = StatesAfter([this] {
    WriteTemporary(true);
    Rename();
  });

  EXPECT_EQ(states, (std::set<Tree>{
                        {{"x", kOldText}}, {{"t", kNewText}, {"x", kOldText}}, {{"x", kNewText}}}));
}

TEST_F(PosixPowerLossModel, LeavesNoFileWithoutANameByARenameAcrossFolders) {
  MakeFolder("a");

  const std::set<Tree> states =
      StatesAfter([this] { MustDo(renameat(root_.Get(), "x", root_.Get(), "a/y")); });

  EXPECT_EQ(states, (std::set<Tree>{{{"a/", ""}, {"x", kOldText}},
                                    {{"a/", ""}, {"a/y", kOldText}, {"x", kOldText}},
                                    {{"a/", ""}, {"a/y", kOldText}}}));
}

TEST_F(PosixPowerLossModel, SecuresTheNamesOfTheSyncedFolderAlone) {
  MakeFolder("a");

  const std::set<Tree> states = StatesAfter([this] {
    const Opened inner(root_.Get(), "a/y", O_WRONLY | O_CREAT);
    MustDo(unlinkat(root_.Get(), "x", 0));
    SyncRoot();
  });

  EXPECT_EQ(states, (std::set<Tree>{{{"a/", ""}}, {{"a/", ""}, {"a/y", ""}}}));
}

TEST_F(PosixPowerLossModel, LosesAllInAFolderWhoseNameIsNotSecured) {
  const std::set<Tree> states = StatesAfter([this] {
    MustDo(mkdirat(root_.Get(), "a", 0700));
    const Opened folder(root_.Get(), "a", O_RDONLY | O_DIRECTORY);
    const Opened inner(folder.Get(), "y", O_WRONLY | O_CREAT);
    folder.Sync();
  });

  EXPECT_EQ(states,
            (std::set<Tree>{{{"x", kOldText}}, {{"a/", ""}, {"a/y", ""}, {"x", kOldText}}}));
}

TEST_F(PosixPowerLossModel, ChoosesStatesWhereThereAreTooMany) {
  const MediumRecord record = RecordOfCalls([this] {
    const Opened file(root_.Get(), "y", O_WRONLY | O_CREAT);
    file.Write(std::string(20000, 'n'));
  });
  PowerLossStates states(record);
  const Tree before = states.Undisturbed();
  for (const MediumChange &change : record.changes) states.Apply(change);

  const std::set<Tree> chosen = states.AfterACut(500);

  EXPECT_THAT(chosen, SizeIs(AllOf(Gt(200U), Le(500U))));
  EXPECT_THAT(chosen, IsSupersetOf({before, states.Undisturbed()}));
  EXPECT_EQ(chosen, states.AfterACut(500));
}

// RecordOf() compares what it wrote down with what there is.
TEST_F(PosixPowerLossModel, WritesDownWhatGoesThroughAnyDescriptor) {
  const MediumRecord record = RecordOfCalls([this] {
    const Opened file(root_.Get(), "y", O_RDWR | O_CREAT);
    file.Write("abc");
    const int second = fcntl(file.Get(), F_DUPFD_CLOEXEC, 0);
    EXPECT_EQ(write(second, "def", 3), 3);
    MustDo(fdatasync(second));
    close(second);
  });

  EXPECT_EQ(record.changes.size(), 4U);
}

TEST_F(PosixPowerLossModel, WritesDownLinksAndFolders) {
  const MediumRecord record = RecordOfCalls([this] {
    MustDo(linkat(root_.Get(), "x", root_.Get(), "y", 0));
    MustDo(unlinkat(root_.Get(), "x", 0));
    MustDo(mkdirat(root_.Get(), "a/", 0700));
    MustDo(mkdirat(root_.Get(), "b", 0700));
    MustDo(unlinkat(root_.Get(), "a", AT_REMOVEDIR));
  });

  EXPECT_EQ(record.changes.size(), 5U);
}

// A new file often gets the number of one that was deleted.
TEST_F(PosixPowerLossModel, TellsANewFileFromADeletedOne) {
  const std::set<Tree> states = StatesAfter([this] {
    MustDo(unlinkat(root_.Get(), "x", 0));
    SyncRoot();
    const Opened file(root_.Get(), "x", O_WRONLY | O_CREAT);
    SyncRoot();
  });

  EXPECT_EQ(states, (std::set<Tree>{{{"x", ""}}}));
}

}  // namespace
