// SPDX-License-Identifier: MIT
// Guards the C++ face's Settings: what they load, change, keep and release.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"
#include "support/file_port_test.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using qnstack::Settings;
using testing::ElementsAre;

static_assert(std::is_nothrow_move_constructible_v<Settings>);
static_assert(std::is_nothrow_move_assignable_v<Settings>);
static_assert(!std::is_copy_constructible_v<Settings>);
static_assert(!std::is_copy_assignable_v<Settings>);

class FaceSettings : public qntest::FilePortTest {
 protected:
  static constexpr const char *kFile = "/ini";

  FaceSettings() { Files().Write(kFile, "port\0"s + "80\0\nempty\0\0\n"s); }

  static std::vector<std::string> KeysOf(const Settings &settings) {
    std::vector<std::string> keys;
    for (const QNFSIniEntry &entry : settings) keys.emplace_back(entry.key);
    return keys;
  }
};

TEST_F(FaceSettings, AreLoaded) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    const Settings settings{std::string(kFile)};

    EXPECT_THAT(KeysOf(settings), ElementsAre("port", "empty"));
    EXPECT_EQ(settings.size(), 2U);
    EXPECT_FALSE(settings.empty());
    EXPECT_STREQ(settings.file(), kFile);
    EXPECT_EQ(settings.Value("port"), "80");
    EXPECT_EQ(settings.Value("empty"s), "");
    EXPECT_EQ(settings.Value("Port"), std::nullopt);
    EXPECT_EQ(settings.Value(nullptr), std::nullopt);
    EXPECT_EQ(settings.Value("port\0"s), std::nullopt);
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST_F(FaceSettings, AreNoneWithoutAFile) {
  for (const Settings &settings : {Settings("/none"), Settings(nullptr), Settings("/i\0ni"s)}) {
    EXPECT_TRUE(settings.empty());
    EXPECT_EQ(settings.begin(), settings.end());
  }
}

TEST_F(FaceSettings, AreSetInMemory) {
  Settings settings(kFile);

  EXPECT_TRUE(settings.Set("port", "8080"s));
  EXPECT_TRUE(settings.Set(std::string_view("host"), "gw"));
  EXPECT_TRUE(settings.Set("nothing", nullptr));

  EXPECT_THAT(KeysOf(settings), ElementsAre("port", "empty", "host", "nothing"));
  EXPECT_EQ(settings.Value("port"), "8080");
  EXPECT_EQ(settings.Value("nothing"), "");
  EXPECT_EQ(Content(kFile), "port\0"s + "80\0\nempty\0\0\n"s) << "the file is as it was";
}

TEST_F(FaceSettings, RefuseWhatCannotBeSet) {
  Settings settings(kFile);

  EXPECT_FALSE(settings.Set("port", "8\0"s));
  EXPECT_FALSE(settings.Set("po\0rt"s, "80"));
  EXPECT_FALSE(settings.Set(nullptr, "80"));
  {
    const FailingHeap heap(1);
    EXPECT_FALSE(settings.Set("new", "value"));
  }

  EXPECT_THAT(KeysOf(settings), ElementsAre("port", "empty"));
  EXPECT_EQ(settings.Value("port"), "80");
}

TEST_F(FaceSettings, AreUnsetAsOftenAsTheyStandThere) {
  Files().Write(kFile, "k\0"s + "1\0\nother\0"s + "2\0\nk\0"s + "3\0\n"s);
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    Settings settings(kFile);
    EXPECT_EQ(settings.Value("k"), "1") << "the first counts";
    EXPECT_TRUE(settings.Unset("k"));
    EXPECT_FALSE(settings.Unset("k"));
    EXPECT_FALSE(settings.Unset(nullptr));
    EXPECT_EQ(settings.Value("k"), std::nullopt);
    EXPECT_THAT(KeysOf(settings), ElementsAre("other"));
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST_F(FaceSettings, AreSavedToTheirFileAndLoadedAnew) {
  Settings settings(kFile);
  settings.Set("port", "8080");
  settings.Unset("empty");
  EXPECT_TRUE(settings.Save());
  EXPECT_EQ(Content(kFile), "port\0"s + "8080\0\n"s);

  Files().Write(kFile, "host\0"s + "gw\0\n"s);
  settings.Load();
  EXPECT_THAT(KeysOf(settings), ElementsAre("host"));
}

TEST_F(FaceSettings, TellThatTheyWereNotSaved) {
  Settings settings(kFile);
  FilePort().Fail("WriteToFile");

  EXPECT_FALSE(settings.Save());
  EXPECT_FALSE(Settings(nullptr).Save());
}

TEST_F(FaceSettings, MoveWithTheirFile) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  {
    Settings settings(kFile);
    Settings moved = std::move(settings);
    auto &itself = moved;
    moved = std::move(itself);

    EXPECT_EQ(moved.Value("port"), "80");
    EXPECT_TRUE(moved.Save());
    EXPECT_TRUE(settings.empty());
    EXPECT_FALSE(settings.Save()) << "moved from, they have no file";
    settings = Settings(kFile);
    EXPECT_EQ(settings.Value("port"), "80");
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST_F(FaceSettings, MayLackAValueOrAFileWhoseNameTheHeapRefused) {
  Settings settings("/none");
  settings.Set("key", "value");
  EXPECT_EQ(RefusalsIn([&] { EXPECT_FALSE(settings.Set("key", "other")); }, 1), 1);
  EXPECT_STREQ(settings.begin()->key, "key");
  EXPECT_EQ(settings.Value("key"), std::nullopt);

  const FailingHeap heap(1);
  const Settings without_file(kFile);
  EXPECT_EQ(without_file.file(), nullptr);
  EXPECT_TRUE(without_file.empty());
}

TEST_F(FaceSettings, AreAListOfC) {
  Settings settings = qnstack::LoadSettings(kFile);

  EXPECT_EQ(fnQNFS_INI_WriteRAM(settings.get(), "port", "1"), 1);

  EXPECT_EQ(qnstack::SettingOf(settings, "port"), "1");
  EXPECT_EQ(fnQNList_GetCount(std::as_const(settings).get()), 2);
}

}  // namespace
