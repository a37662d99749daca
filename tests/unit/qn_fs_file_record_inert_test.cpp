// SPDX-License-Identifier: MIT
// Guards record files on the inert file port: nothing is saved, and a load
// leaves the list as it is.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "support/text_list.h"

namespace {

using namespace qntest;

std::vector<std::pair<std::string, int32_t>> told;

class QnFsRecordOnInertPort : public testing::Test {
 protected:
  QnFsRecordOnInertPort() {
    told.clear();
    fnQNFS_SetCardSynFileFunc([](const char *name, int32_t operation) -> int32_t {
      told.emplace_back(name, operation);
      return 0;
    });
  }
};

TEST_F(QnFsRecordOnInertPort, SavesNothingEitherWay) {
  TextList list({"one", "two"});

  EXPECT_EQ(fnQNFS_Save_List_To_File("/abc", list.get(), WriteText), 0);
  EXPECT_EQ(fnQNFS_Save_List_To_FileEx("/abc", list.get(), WriteText), 0);
  const std::pair<std::string, int32_t> write("/abc", 2);
  EXPECT_EQ(told, std::vector({write, write}));

  EXPECT_EQ(fnQNFS_Append_List_To_File("/abc", list.get(), WriteText), 0);
  EXPECT_EQ(list.Texts(), std::vector<std::string>({"one", "two"}));
}

TEST_F(QnFsRecordOnInertPort, LoadsNothingEitherWay) {
  TextList list({"here"});

  fnQNFS_Load_File_To_List("/abc", list.get(), ReadText);
  fnQNFS_Load_File_To_ListEx("/abc", list.get(), ReadText);

  EXPECT_EQ(list.Texts(), std::vector<std::string>({"here"}));
}

}  // namespace
