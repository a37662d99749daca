// SPDX-License-Identifier: MIT
// Guards the model of power loss itself: it sees what the calls do, it permits
// exactly the states that it should, and it finds what faulty sequences lose.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
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

// What is lost by sequences of calls that are not safe.
TEST_F(PosixPowerLossModel, FindsWhatIsTornOrUndoneByUnsafeCalls) {
  struct {
    const char *name;
    std::function<void()> calls;
    bool tears;
    bool undoes;
  } const cases[] = {
      {"the file is not synced",
       [this] {
         WriteTemporary(false);
         Rename();
         SyncRoot();
       },
       true, false},
      {"the folder is not synced",
       [this] {
         WriteTemporary(true);
         Rename();
       },
       false, true},
      {"it is written in place",
       [this] {
         const Opened file(root_.Get(), "x", O_WRONLY | O_TRUNC);
         file.Write(kNewText);
         file.Sync();
       },
       true, false},
      {"the old file is deleted first",
       [this] {
         WriteTemporary(true);
         SyncRoot();
         MustDo(unlinkat(root_.Get(), "x", 0));
         Rename();
         SyncRoot();
       },
       true, false},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    folder_.write("x", kOldText);

    const PowerLossFindings found = Cut(c.calls);

    EXPECT_EQ(found.torn > 0, c.tears);
    EXPECT_EQ(found.undone > 0, c.undoes);
  }
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

TEST_F(PosixPowerLossModel, MayLeaveALengthWithoutItsBytesAndATruncationOut) {
  const std::set<Tree> any = {{{"x", "ab"}}, {{"x", std::string("ab\0\0", 4)}}, {{"x", "abcd"}}};
  folder_.write("x", "ab");

  EXPECT_EQ(StatesAfter([this] { Opened(root_.Get(), "x", O_WRONLY | O_APPEND).Write("cd"); }),
            any);
  EXPECT_EQ(StatesAfter([this] { MustDo(ftruncate(Opened(root_.Get(), "x", O_WRONLY).Get(), 2)); }),
            any);
}

// Which names a cut may leave.
TEST_F(PosixPowerLossModel, PermitsExactlyTheNamesThatItShould) {
  struct {
    const char *name;
    std::function<void()> calls;
    std::set<Tree> states;
  } const cases[] = {
      {"a rename names a file or does not",
       [this] {
         WriteTemporary(true);
         Rename();
       },
       {{{"a/", ""}, {"x", kOldText}},
        {{"a/", ""}, {"t", kNewText}, {"x", kOldText}},
        {{"a/", ""}, {"x", kNewText}}}},
      {"a rename across folders leaves no file without a name",
       [this] { MustDo(renameat(root_.Get(), "x", root_.Get(), "a/y")); },
       {{{"a/", ""}, {"x", kOldText}},
        {{"a/", ""}, {"a/y", kOldText}, {"x", kOldText}},
        {{"a/", ""}, {"a/y", kOldText}}}},
      {"the names of the synced folder alone are secured",
       [this] {
         const Opened inner(root_.Get(), "a/y", O_WRONLY | O_CREAT);
         MustDo(unlinkat(root_.Get(), "x", 0));
         SyncRoot();
       },
       {{{"a/", ""}}, {{"a/", ""}, {"a/y", ""}}}},
      {"all in a folder is lost whose name is not secured",
       [this] {
         MustDo(mkdirat(root_.Get(), "b", 0700));
         const Opened folder(root_.Get(), "b", O_RDONLY | O_DIRECTORY);
         const Opened inner(folder.Get(), "y", O_WRONLY | O_CREAT);
         folder.Sync();
       },
       {{{"a/", ""}, {"x", kOldText}}, {{"a/", ""}, {"b/", ""}, {"b/y", ""}, {"x", kOldText}}}},
      // A new file often gets the number of one that was deleted.
      {"a new file is told from a deleted one",
       [this] {
         MustDo(unlinkat(root_.Get(), "x", 0));
         SyncRoot();
         const Opened file(root_.Get(), "x", O_WRONLY | O_CREAT);
         SyncRoot();
       },
       {{{"a/", ""}, {"x", ""}}}},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    for (const auto &entry : std::filesystem::directory_iterator(folder_.path())) {
      std::filesystem::remove_all(entry);
    }
    MakeFolder("a");
    folder_.write("x", kOldText);

    EXPECT_EQ(StatesAfter(c.calls), c.states);
  }
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

}  // namespace
