// SPDX-License-Identifier: MIT
// Guards the stores against each other in several processes: two write and two
// load, all at once. What a save that gave 1 has stored is in every load that
// begins later, no append gets lost, and nothing is seen that nobody has saved.
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/store_scenarios.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_fs_ini.h"
#include "support/settings_list.h"
#include "support/typed_buffer.h"

namespace {

using namespace qntest;
using testing::UnorderedElementsAre;

constexpr int kWriters = 2;
constexpr int kProcesses = 4;
constexpr int kOperations = 2000;  // of each process
constexpr int kStores = 4;
constexpr int kPlanted = 200;
constexpr unsigned kMostSeconds = 300;
constexpr char kSharedSettings[] = "/data/both.ini";
constexpr char kLog[] = "/data/log";

// How far a writer has come with a store, by the number of its last save.
struct Progress {
  std::atomic<int> begun;
  std::atomic<int> saved;
};

// In memory that all processes share.
struct Board {
  std::array<std::array<Progress, kWriters>, kStores> progress;
  std::atomic<int> arrived;
};

std::string OwnName(const char *kind, int writer) {
  return "/data/" + std::string(kind) + std::to_string(writer);
}

// A text of a length of its own that tells its number.
std::string TextOf(int number) {
  return std::string(static_cast<size_t>(1 + number * 37 % 500), 'v') + std::to_string(number);
}

int NumberIn(const std::string &text) {
  const size_t digits = text.find_first_not_of('v');
  return digits == std::string::npos ? -1 : std::atoi(text.c_str() + digits);
}

std::string MarkOf(int writer, int number) {
  return std::to_string(writer) + ":" + std::to_string(number);
}

Texts LoadBuffer(const char *name) {
  TypedBuffer buffer(static_cast<uint32_t>(10000 + std::max(fnQNFS_getFileSize(name), 0)));
  Texts texts;
  if (fnQNFS_Load_File_To_Buffer(name, buffer.get()) != 1) return {"(failure)"};
  while (fnQNFS_Buffer_IsEnd(buffer.get()) == 0) texts.push_back(buffer.Read());
  return texts;
}

bool AppendToBuffer(const char *name, const std::string &text) {
  TypedBuffer buffer(10000);
  buffer.Write(text);
  return fnQNFS_Append_Buffer_To_File(name, buffer.get()) == 1;
}

// Two settings of one value.
bool SaveSettings(const std::string &name, const std::string &value) {
  SettingsList list{{"first", value}};
  return fnQNFS_INI_Write(name.c_str(), list.get(), "second", value.c_str()) == 1;
}

// Their value; "(torn)" if they are not both there and alike.
std::string LoadValue(const std::string &name) {
  SettingsList list;
  fnQNFS_Load_INI_To_List(name.c_str(), list.get());
  const Settings held = list.Held();
  const bool whole = held.size() == 2 && held[0].first == "first" && held[1].first == "second" &&
                     held[0].second == held[1].second;
  return whole ? held[0].second : "(torn)";
}

// How many of a writer's appends a list holds; -1 if one is missing among them,
// is there twice, or is out of its order.
int AppendsOf(int writer, const Texts &texts) {
  int number = 0;
  for (const std::string &text : texts) {
    const bool is_own = text.starts_with(std::to_string(writer) + ":");
    if (is_own && text != MarkOf(writer, ++number)) return -1;
  }
  return number;
}

// A store: how a writer saves a number in it, and which number of a writer's a
// load finds there.
struct SharedStore {
  const char *name;
  std::function<bool(int writer, int number)> save;
  std::function<int(int writer)> load;
};

std::vector<SharedStore> SharedStores() {
  const auto own_settings = [](int writer, int number) {
    return SaveSettings(OwnName("settings", writer), TextOf(number));
  };
  const auto own_number = [](int writer) {
    const std::string value = LoadValue(OwnName("settings", writer));
    return value == TextOf(NumberIn(value)) ? NumberIn(value) : -1;
  };
  const auto own_buffer = [](int writer, int number) {
    TypedBuffer buffer(10000);
    for (int i = 0; i < 2; ++i) buffer.Write(TextOf(number));
    return fnQNFS_Write_Buffer_To_File(OwnName("buffer", writer).c_str(), buffer.get()) == 1;
  };
  const auto buffer_number = [](int writer) {
    const Texts texts = LoadBuffer(OwnName("buffer", writer).c_str());
    const int number = NumberIn(texts[0]);
    return texts == Texts{TextOf(number), TextOf(number)} ? number : -1;
  };
  const auto record = [](int writer, int number) { return AppendRecord(MarkOf(writer, number)); };
  const auto log = [](int writer, int number) {
    return AppendToBuffer(kLog, MarkOf(writer, number));
  };
  return {{"settings of each", own_settings, own_number},
          {"buffers of each", own_buffer, buffer_number},
          {"records of both", record, [](int writer) { return AppendsOf(writer, LoadRecords()); }},
          {"buffer of both", log, [](int writer) { return AppendsOf(writer, LoadBuffer(kLog)); }}};
}

class PosixShared : public PosixRoot {
 protected:
  PosixShared()
      : board_(new (mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                         -1, 0)) Board()) {
    fnQNFS_MkDir("/data/");
  }
  ~PosixShared() override { munmap(board_, sizeof(Board)); }

  // Runs `part` in all processes, from the first to the last at once. The first
  // ones are the writers.
  static void RunInAll(const std::function<void(int process)> &part) {
    const auto unforced = [&](int process) {
      FileFaults faults;
      part(process);
    };
    std::vector<ForkedProcess> children;
    for (int process = 0; process < kProcesses; ++process) {
      children.push_back(InChild([&] { unforced(process); }, kMostSeconds));
    }
    for (ForkedProcess &child : children) EXPECT_EQ(child.Wait(), 0);
  }

  void SaveNext(const std::vector<SharedStore> &stores, size_t store, int writer) const {
    Progress &progress = board_->progress[store][static_cast<size_t>(writer)];
    const int number = ++progress.begun;
    EXPECT_TRUE(stores[store].save(writer, number)) << stores[store].name;
    progress.saved = number;
  }

  // Nothing that was saved before is missing, and nothing else is there.
  void ExpectWhatIsSaved(const std::vector<SharedStore> &stores, size_t store, int writer) const {
    const Progress &progress = board_->progress[store][static_cast<size_t>(writer)];
    const int before = progress.saved;
    const int found = stores[store].load(writer);
    EXPECT_TRUE(before <= found && found <= progress.begun)
        << stores[store].name << ": " << found << " after " << before;
  }

  // Waits until all processes have come to this point for the nth time.
  void Meet(int nth) const {
    ++board_->arrived;
    while (board_->arrived < nth * kProcesses) sched_yield();
  }

  Board *board_;
  const Watchdog longer_{kMostSeconds};
};

TEST_F(PosixShared, StoresUndoNothingAndTearNothing) {
  const std::vector<SharedStore> stores = SharedStores();
  for (size_t store = 0; store < stores.size(); ++store) {
    for (int writer = 0; writer < kWriters; ++writer) SaveNext(stores, store, writer);
  }

  RunInAll([&](int process) {
    const bool writes = process < kWriters;
    for (int i = 0; i < kOperations && !HasFailure(); ++i) {
      const size_t store = static_cast<size_t>(i) % stores.size();
      if (writes) SaveNext(stores, store, process);
      if (!writes) ExpectWhatIsSaved(stores, store, i / 2 % kWriters);
    }
  });

  for (size_t store = 0; store < stores.size(); ++store) {
    for (int writer = 0; writer < kWriters; ++writer) {
      EXPECT_EQ(stores[store].load(writer), 1 + kOperations / 4) << stores[store].name;
    }
  }
}

// The second save of one file wins; which it is nobody knows.
TEST_F(PosixShared, SettingsOfBothAreThoseOfOne) {
  ASSERT_TRUE(SaveSettings(kSharedSettings, TextOf(0)));

  RunInAll([](int process) {
    for (int i = 0; i < kOperations && !HasFailure(); ++i) {
      if (process < kWriters) {
        EXPECT_TRUE(SaveSettings(kSharedSettings, TextOf(2 * i + process)));
      } else {
        const std::string value = LoadValue(kSharedSettings);
        EXPECT_EQ(value, TextOf(NumberIn(value)));
      }
    }
  });

  EXPECT_THAT((std::vector<int>{2 * kOperations - 2, 2 * kOperations - 1}),
              testing::Contains(NumberIn(LoadValue(kSharedSettings))));
  EXPECT_EQ(FilesBelow(folder_.path()), std::set<std::string>{"data/both.ini"});
}

// All come at once upon a file beside which a save of another port has left its
// backup.
TEST_F(PosixShared, BackupIsPutBackOnce) {
  const auto name = [](int i) { return "/data/" + std::to_string(i); };
  for (int i = 0; i < kPlanted; ++i) {
    FileFaults unforced;
    ASSERT_TRUE(AppendToBuffer(name(i).c_str(), "old"));
    ASSERT_EQ(fnQNFS_MoveFile((name(i) + ".bak").c_str(), name(i).c_str()), 1);
    folder_.write(name(i).substr(1), "half of a new co");
  }

  RunInAll([&](int process) {
    for (int i = 0; i < kPlanted && !HasFailure(); ++i) {
      Meet(i + 1);
      if (process < kWriters) {
        EXPECT_TRUE(AppendToBuffer(name(i).c_str(), MarkOf(process, 1)));
      } else {
        EXPECT_EQ(LoadBuffer(name(i).c_str())[0], "old");
      }
    }
    board_->arrived += HasFailure() ? kPlanted * kProcesses : 0;
  });

  for (int i = 0; i < kPlanted && !HasFailure(); ++i) {
    EXPECT_THAT(LoadBuffer(name(i).c_str()),
                UnorderedElementsAre("old", MarkOf(0, 1), MarkOf(1, 1)));
  }
}

}  // namespace
