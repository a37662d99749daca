// SPDX-License-Identifier: MIT
// Guards what a program could not read: it is there, so nothing the program
// writes may take its place until it has been read or deleted.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>

#include "posix/file_faults.h"
#include "posix/port_way.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;

constexpr FileFault kFails = {FaultKind::kFail, 0, EIO};

class PosixUnread : public PosixRoot {
 protected:
  PosixUnread() { MakeFolder("data"); }
  ~PosixUnread() override { ForgetCache(); }

  void ExpectNothingWrites(const char *name) const {
    const std::string content = folder_.read(name);
    EXPECT_EQ(WriteText(name, "new"), -1);
    EXPECT_EQ(AppendText(name, "new"), -1);
    EXPECT_EQ(fnQNFS_WriteToFileAtPos("n", 1, 0, name), -1);
    EXPECT_EQ(fnQNFS_CopyFile(name, "y"), 0);
    for (const char *mode : {"r+", "w", "w+", "a", "a+"}) {
      EXPECT_EQ(fnQNFS_File_Open(name, mode), nullptr);
    }
    EXPECT_EQ(folder_.read(name), content);
  }
};

TEST_F(PosixUnread, FileIsNotWrittenUntilItHasBeenRead) {
  folder_.write("x", "content");
  folder_.write("y", "other");
  const char *const opens = kPortAsksTheKernel ? "openat2" : "openat";
  for (const char *call : {"open", opens, "fstat", "read"}) {
    SCOPED_TRACE(call);
    RunWithFaultAt(call, kFails, [] { ReadText("/x"); });
    ExpectNothingWrites("x");
    EXPECT_EQ(ReadText("x"), "content");
    EXPECT_EQ(WriteText("x", "content"), 7);
  }
}

TEST_F(PosixUnread, FileThatCannotBeLookedForIsNotOpenedForWriting) {
  folder_.write("x", "content");
  RunWithFaultAt("read", kFails, [] { ReadText("/x"); });

  const Texts calls =
      kPortAsksTheKernel ? Texts{"open", "openat2", "fstat"} : Texts{"open", "fstatat"};
  for (const std::string &call : calls) {
    RunWithFaultAt(call, kFails, [] { EXPECT_EQ(fnQNFS_File_Open("x", "r+"), nullptr); });
  }
  QNFSFile file = fnQNFS_File_Open("x", "r");
  EXPECT_NE(file, nullptr) << "for reading it is";
  fnQNFS_File_Close(file);
}

TEST_F(PosixUnread, FileThatHasGoneMeanwhileIsWritten) {
  const std::function<void()> ways[] = {
      [] { EXPECT_EQ(fnQNFS_DeleteFile("/x"), 1); },
      [] { EXPECT_EQ(fnQNFS_DelAllFiles("/"), 1); },
      [] { EXPECT_EQ(fnQNFS_MoveFile("y", "x"), 1); },
  };
  for (const auto &way : ways) {
    folder_.write("x", "content");
    RunWithFaultAt("read", kFails, [] { ReadText("/x"); });
    way();
    EXPECT_EQ(WriteText("x", "new"), 3);
    EXPECT_EQ(WriteText("x", "more"), 4);
  }
  EXPECT_EQ(WriteText("y", "new"), -1) << "this is the one that was not read";
}

TEST_F(PosixUnread, FileThatWasDeletedIsWrittenThoughAnotherProgramMadeItAnew) {
  folder_.write("x", "content");
  RunWithFaultAt("read", kFails, [] { ReadText("/x"); });
  EXPECT_EQ(fnQNFS_DeleteFile("x"), 1);
  folder_.write("x", "of another program");

  EXPECT_EQ(WriteText("x", "new"), 3);
}

TEST_F(PosixUnread, FolderIsNoFileWhereTheSystemDoesNotResolveNames) {
  const NoResolving none(ENOSYS);
  MakeFolder("x");
  EXPECT_EQ(ReadText("x"), "(failure)");
  ASSERT_EQ(rmdir(folder_.path("x").c_str()), 0);
  folder_.write("x", "of another program");

  EXPECT_EQ(WriteText("x", "new"), 3);
}

TEST_F(PosixUnread, FileIsTheRootsThatWasSet) {
  folder_.write("x", "content");
  MakeFolder("other");
  RunWithFaultAt("read", kFails, [] { ReadText("/x"); });

  fnQNFS_SetFullPath(folder_.path("other").c_str());

  EXPECT_EQ(WriteText("x", "new"), 3);
}

TEST_F(PosixUnread, FileThatIsNotThereIsWritten) {
  EXPECT_EQ(ReadText("x"), "(failure)");
  EXPECT_EQ(WriteText("x", "new"), 3);
  EXPECT_EQ(ReadText("none/x"), "(failure)");
  MakeFolder("none");
  EXPECT_EQ(WriteText("none/x", "new"), 3);
}

TEST_F(PosixUnread, FileOfAMissingRootIsWrittenOnceThatIsThere) {
  fnQNFS_SetFullPath(folder_.path("later").c_str());
  QNFSBuffer buffer = {nullptr, -1, -1};

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer("x", &buffer), 0);

  MakeFolder("later");
  EXPECT_EQ(WriteText("x", "new"), 3);
}

TEST_F(PosixUnread, FilesInAnyNumberAreNotWrittenAndUpToSixtyFourLeaveOthersToBe) {
  constexpr int kMostNames = 64;
  constexpr int kFiles = 100;
  folder_.write("read", "content");
  for (int i = 0; i < kFiles; ++i) folder_.write(std::to_string(i), "content");

  for (int i = 0; i < kFiles; ++i) {
    // With one more it is no longer known which files they are.
    EXPECT_EQ(WriteText("read", "new"), i <= kMostNames ? 3 : -1) << i;
    const std::string name = std::to_string(i);
    RunWithFaultAt("read", kFails, [&] { ReadText(name.c_str()); });
  }

  for (int i = 0; i < kFiles; ++i) {
    EXPECT_EQ(WriteText(std::to_string(i).c_str(), "new"), -1) << i;
  }
}

TEST_F(PosixUnread, FileThatIsReadInVainAgainAndAgainCountsOnce) {
  folder_.write("x", "content");
  folder_.write("y", "content");
  {
    const FileFaults faults({FaultKind::kFailOnwards, 1, EIO});
    for (int i = 0; i < 100; ++i) EXPECT_EQ(ReadText("x"), "(failure)");
  }

  EXPECT_EQ(WriteText("x", "new"), -1);
  EXPECT_EQ(WriteText("y", "new"), 3);
}

TEST_F(PosixUnread, SettingsAreKept) {
  ASSERT_TRUE(WriteSetting("key", "value"));
  QNList list = {};
  {
    FileFaults faults({FaultKind::kFailOnwards, 1, EMFILE});
    fnQNFS_INI_List_Init(kSettingsFile, &list);
  }

  EXPECT_EQ(fnQNFS_INI_Write(kSettingsFile, &list, "other", "value"), 0);

  fnQNList_Clear(&list, fnQNFS_INI_FreeNode);
  EXPECT_EQ(LoadSettings(), Texts{"key=value"});
  EXPECT_TRUE(WriteSetting("key", "new"));
}

TEST_F(PosixUnread, SettingsThatTheHeapRefusedAreKept) {
  const Texts both = {"first=1", "second=2"};
  ASSERT_TRUE(WriteSetting("first", "1"));
  ASSERT_TRUE(WriteSetting("second", "2"));
  int refused = 0;
  for (bool reached = true; reached;) {
    QNList list = {};
    {
      FailingHeap heap(++refused);
      fnQNFS_INI_List_Init(kSettingsFile, &list);
      reached = heap.Allocations() >= refused;
    }
    const int32_t written = fnQNFS_INI_Write(kSettingsFile, &list, "first", "1");
    EXPECT_EQ(written, list.count == 2 ? 1 : 0) << "block " << refused;
    fnQNList_Clear(&list, fnQNFS_INI_FreeNode);
    EXPECT_EQ(LoadSettings(), both) << "block " << refused;
  }
  EXPECT_GT(refused, 5);
}

TEST_F(PosixUnread, RecordsForWhichTheHeapRefusedANodeAreKept) {
  const Texts both = {"first", "second"};
  ASSERT_TRUE(SaveRecords(both));
  int blocks = 0;
  {
    const FailingHeap heap(FailingHeap::kCountOnly);
    LoadRecords();
    blocks = heap.Allocations();
  }
  {
    const FailingHeap heap(blocks - 1);  // of the last node; its text is the last block
    EXPECT_EQ(LoadRecords(), Texts{"first"});
  }

  EXPECT_FALSE(SaveRecords({"new"}));

  EXPECT_EQ(LoadRecords(), both);
  EXPECT_TRUE(SaveRecords({"new"}));
}

TEST_F(PosixUnread, IndexOfTheCacheIsKept) {
  PlantFullCache({"a", "b"});
  {
    FileFaults faults({FaultKind::kFailOnwards, 1, EMFILE});
    fnQNStack_Cache_Init();
  }
  EXPECT_FALSE(SaveToCache("c", 1));

  Texts urls;
  for (const CachedBody &entry : LoadCache()) urls.push_back(entry.url);
  EXPECT_EQ(urls, (Texts{"a", "b"}));
}

TEST_F(PosixUnread, ListThatWasSizedWithoutTheFileIsNotSavedCut) {
  const Texts half(800, "an element");
  const Texts whole(1600, "an element");  // more than is counted on without a size
  const Texts other(1600, "new memory");
  ASSERT_TRUE(SaveRecords(half) && SaveRecords(whole));
  {
    FileFaults faults({FaultKind::kFail, 1, EMFILE});
    EXPECT_FALSE(SaveRecords(other));
  }
  EXPECT_EQ(LoadRecords(), whole);
  EXPECT_TRUE(SaveRecords(other)) << "nothing was lost by it";
  EXPECT_EQ(LoadRecords(), other);
}

}  // namespace
