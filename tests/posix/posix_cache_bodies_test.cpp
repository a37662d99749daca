// SPDX-License-Identifier: MIT
// Guards the bodies of the cache where the process ends in a save, or a call of it
// fails: in the index that is found afterwards no URL has the body of another.
// The clock stands still, and what a save throws out has the number that the clock
// gives, so that every save would like to use it.
#include <gmock/gmock.h>

#include <cerrno>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/scripted_clock.h"

namespace {

using namespace qntest;

class PosixCacheBodies : public PosixRoot {
 protected:
  ~PosixCacheBodies() override { ForgetCache(); }

  // An index with one entry, which a save throws out.
  static void Plant() {
    FileFaults unforced;
    fnQNStack_Cache_Delete_All();
    PlantFullCache({"old"}, fnQNFS_getRandom());
  }

  static void StartAndSave() {
    fnQNStack_Cache_Init();
    SaveToCache("new", 1);
  }

  static int CallsOf(void (*act)()) {
    const FileFaults counting;
    act();
    return counting.Count();
  }

  static void ExpectOwnBodiesAtAStart() {
    FileFaults unforced;
    for (const CachedBody &entry : LoadCache()) {
      EXPECT_NE(entry.state, CachedBody::State::kTorn) << entry.url;
    }
    ForgetCache();
  }

  ScriptedClock clock_{{.year = 2009, .month = 6, .day = 15, .hour = 12}};
};

TEST_F(PosixCacheBodies, AreTheirOwnWhereverTheProcessEnds) {
  Plant();
  const int calls = CallsOf(StartAndSave);
  ASSERT_GT(calls, 30);
  for (const FaultKind kind : {FaultKind::kEnd, FaultKind::kEndWithin}) {
    for (int at = 1; at <= calls; at += QNSTACK_END_STRIDE) {
      SCOPED_TRACE(at);
      Plant();
      EXPECT_EQ(StatusOf([&] {
                  FileFaults faults({kind, at, 0});
                  StartAndSave();
                }),
                FileFaults::kEndStatus);
      ExpectOwnBodiesAtAStart();
    }
  }
}

TEST_F(PosixCacheBodies, AreTheirOwnWhicheverCallFailsAndTheIndexOfTheNextSaveToo) {
  const auto save_again = [] { SaveToCache("newer", 2); };
  Plant();
  const int calls = CallsOf(StartAndSave);
  const int after_the_body = NumberOf("renameat", save_again) + 1;
  for (const FaultKind kind : {FaultKind::kFail, FaultKind::kFailOnwards}) {
    for (int at = 1; at <= calls; ++at) {
      SCOPED_TRACE(at);
      ForgetCache();
      Plant();
      {
        FileFaults faults({kind, at, EIO});
        StartAndSave();
      }
      {
        FileFaults faults({FaultKind::kFailOnwards, after_the_body, EIO});
        save_again();
      }
      ExpectOwnBodiesAtAStart();
    }
  }
}

}  // namespace
