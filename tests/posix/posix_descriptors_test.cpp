// SPDX-License-Identifier: MIT
// Guards the POSIX file port against the want of descriptors: where there are
// enough to delete a file, there are enough to bring another in its place.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"
#include "support/few_descriptors.h"

namespace {

using namespace qntest;

class PosixDescriptors : public PosixRoot {
 protected:
  PosixDescriptors() {
    MakeFolder("data");
    MakeFolder("other");
  }

  // How many descriptors `act` needs to succeed on the files x ("old") and y
  // ("new"). With fewer it leaves both as they were.
  int NeedOf(const std::function<bool()> &act) const {
    const FileFaults unforced;
    for (int left = 0; left < 20; ++left) {
      folder_.write("data/x", "old");
      folder_.write("data/y", "new");
      bool done = false;
      {
        const FewDescriptors few(left);
        done = act();
      }
      if (done) return left;
      EXPECT_EQ(folder_.read("data/x"), "old") << left;
      EXPECT_EQ(folder_.read("data/y"), "new") << left;
      EXPECT_EQ(folder_.names(), (std::vector<std::string>{"data", "other"}));
    }
    ADD_FAILURE() << "20 are not enough";
    return -1;
  }
};

TEST_F(PosixDescriptors, AreAsManyForWhatChangesAFileAsForDeleting) {
  const int need = NeedOf([] { return fnQNFS_DeleteFile("/data/x") == 1; });
  EXPECT_GT(need, 0);

  EXPECT_LE(NeedOf([] { return WriteText("/data/x", "next") == 4; }), need);
  EXPECT_LE(NeedOf([] { return AppendText("/data/x", "+") == 1; }), need);
  EXPECT_LE(NeedOf([] { return fnQNFS_CopyFile("/data/x", "/data/y") == 1; }), need);
  EXPECT_LE(NeedOf([] { return fnQNFS_MoveFile("/data/x", "/data/y") == 1; }), need);
}

// Two directories are open for it, to be synced both.
TEST_F(PosixDescriptors, AreOneMoreForAMoveIntoAnotherDirectory) {
  const int need = NeedOf([] { return fnQNFS_DeleteFile("/data/x") == 1; });

  EXPECT_LE(NeedOf([] { return fnQNFS_MoveFile("/other/x", "/data/x") == 1; }), need + 1);
}

}  // namespace
