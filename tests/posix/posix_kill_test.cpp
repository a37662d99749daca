// SPDX-License-Identifier: MIT
// Guards the stores against a process that is killed at any moment. Children
// save records, settings and cache entries in a loop and are killed one after
// another; after each a program that starts anew finds what was last saved, or
// the content that was being saved, complete. The next child goes on with the
// files as the killed one left them, and loads before it writes.
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <new>
#include <random>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http_cache.h"

namespace {

using namespace qntest;

constexpr uint32_t kUrls = 8;
constexpr unsigned kMostMicroseconds = 12000;  // before a child is killed

// How far a store has come, in memory that outlives the children.
struct SavedVersions {
  std::atomic<int32_t> begun;
  std::atomic<int32_t> saved;

  // What a killed child had begun may have come to be: it counts as saved then.
  void Settle(bool is_new) {
    if (is_new) saved = begun.load();
  }
};
struct VersionBoard {
  SavedVersions records;
  SavedVersions settings;
  std::array<SavedVersions, kUrls> urls;
  std::atomic<uint32_t> turns;  // the children take turns with the URLs, so none grows old
};

Texts RecordsOf(int32_t version) {
  Texts texts;
  for (int i = 0; i < 20 + version % 50; ++i) texts.push_back("record " + std::to_string(version));
  return texts;
}

std::string ValueOf(int32_t version) {
  return std::string(static_cast<size_t>(1 + version % 200), 'v') + std::to_string(version);
}

Texts SettingsOf(int32_t version) { return {"key=" + ValueOf(version)}; }

std::string UrlOf(uint32_t url) { return "http://example/" + std::to_string(url); }

template <typename SaveVersion>
void SaveNext(SavedVersions *progress, SaveVersion save) {
  const int32_t next = progress->begun + 1;
  progress->begun = next;
  if (save(next)) progress->saved = next;
}

// Loads, then saves for as long as it may.
[[noreturn]] void SaveForEver(VersionBoard *board) {
  FileFaults unforced;  // many saves in a short time
  LoadRecords();
  LoadCache();
  for (;;) {
    SaveNext(&board->records, [](int32_t version) { return SaveRecords(RecordsOf(version)); });
    SaveNext(&board->settings,
             [](int32_t version) { return WriteSetting("key", ValueOf(version)); });
    const uint32_t url = board->turns++ % kUrls;
    SaveNext(&board->urls[url],
             [url](int32_t version) { return SaveToCache(UrlOf(url), version); });
  }
}

class PosixKill : public PosixRoot {
 protected:
  PosixKill()
      : board_(new (mmap(nullptr, sizeof(VersionBoard), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0)) VersionBoard()) {
    fnQNFS_MkDir("/data/");
  }
  ~PosixKill() override {
    ForgetCache();
    munmap(board_, sizeof(VersionBoard));
  }

  // Starts a child and kills it `delay` microseconds later, counted from its
  // first save or, to meet it while it loads, from its start.
  void StartAndKill(unsigned delay, bool from_start) {
    const int32_t before = board_->records.begun;
    ForkedProcess child([this]() -> int { SaveForEver(board_); });
    while (!from_start && board_->records.begun == before) sched_yield();
    usleep(delay);
    child.Kill();
    ASSERT_EQ(child.Wait(), -SIGKILL) << "it ended by itself";
  }

  // Looks at a copy of the files: the next child meets them as they are.
  void ExpectOldOrNew() {
    const std::string copy = folder_.path() + ".copy";
    std::filesystem::copy(folder_.path(), copy, std::filesystem::copy_options::recursive);
    fnQNFS_SetFullPath(copy.c_str());
    leftovers_ += fnQNFS_isFileExisted("/data/records.bak") +
                  fnQNFS_isFileExisted("/data/settings.ini.bak") +
                  fnQNFS_isFileExisted("/wap/ca/ca.txt.bak");
    ExpectVersion(board_->records, LoadRecords(), RecordsOf);
    ExpectVersion(board_->settings, LoadSettings(), SettingsOf);
    ExpectCache();
    ForgetCache();
    fnQNFS_SetFullPath(folder_.path().c_str());
    std::filesystem::remove_all(copy);
  }

  // The store holds what was last saved, if anything was, or what was being saved.
  static void ExpectVersion(SavedVersions &progress, const Texts &found,
                            Texts (*of)(int32_t version)) {
    const Texts old_content = progress.saved == 0 ? Texts() : of(progress.saved);
    const bool is_new = found == of(progress.begun);
    EXPECT_TRUE(found == old_content || is_new)
        << testing::PrintToString(found) << " after " << progress.saved;
    progress.Settle(is_new);
  }

  void ExpectCache() {
    std::map<std::string, CachedBody> first;
    for (const CachedBody &entry : LoadCache()) first.emplace(entry.url, entry);
    for (uint32_t i = 0; i < kUrls; ++i) {
      SCOPED_TRACE(UrlOf(i));
      const auto found = first.find(UrlOf(i));
      if (found != first.end()) {
        ExpectEntry(&board_->urls[i], found->second);
      } else {
        EXPECT_EQ(board_->urls[i].saved, 0);
      }
    }
  }

  // The body is that of its entry; only an old one whose successor is being
  // saved may have gone.
  static void ExpectEntry(SavedVersions *progress, const CachedBody &entry) {
    EXPECT_TRUE(entry.tag == progress->saved || entry.tag == progress->begun)
        << entry.tag << " after " << progress->saved;
    progress->Settle(entry.tag == progress->begun);
    EXPECT_NE(entry.state, CachedBody::State::kTorn);
    EXPECT_TRUE(entry.state == CachedBody::State::kWhole || progress->begun != progress->saved);
  }

  VersionBoard *board_;
  int leftovers_ = 0;
};

int Kills() {
  const char *wanted = std::getenv("QNSTACK_KILLS");
  return wanted == nullptr ? 40 : std::atoi(wanted);
}

TEST_F(PosixKill, LeavesOldOrNewAtAnyMoment) {
  Watchdog longer(120);
  std::minstd_rand random(2009);
  for (int kill = 0; kill < Kills() && !HasFailure(); ++kill) {
    SCOPED_TRACE(testing::Message() << "kill " << kill);
    StartAndKill(static_cast<unsigned>(random()) % kMostMicroseconds, kill % 4 == 0);
    ExpectOldOrNew();
  }

  std::printf("%d kills: %d record, %d settings and %u cache saves begun; %d backups restored\n",
              Kills(), board_->records.begun.load(), board_->settings.begun.load(),
              board_->turns.load(), leftovers_);
  EXPECT_GE(board_->records.begun, Kills() / 2) << "the children hardly came to save";
  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
  int left = 0;
  for ([[maybe_unused]] const auto &file :
       std::filesystem::directory_iterator(folder_.path("wap/ca"))) {
    ++left;
  }
  EXPECT_EQ(left, 1) << "more than the empty index";
}

}  // namespace
