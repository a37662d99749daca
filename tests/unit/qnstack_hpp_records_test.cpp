// SPDX-License-Identifier: MIT
// Guards the C++ face's Records: values that are kept in a file by a format of
// the program's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"
#include "support/file_port_test.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

struct Notice {
  int32_t size = 0;
  std::string subject;
};

struct NoticeFormat {
  static void Write(QNFSBuffer *fields, const Notice &notice) {
    fnQNFS_Buffer_WriteInteger(fields, notice.size);
    fnQNFS_Buffer_WriteLine(fields, notice.subject.c_str());
  }
  // A notice without a subject is passed over.
  static std::optional<Notice> Read(QNFSBuffer *fields) {
    int32_t status = 0;
    const int32_t size = fnQNFS_Buffer_ReadInteger(fields, &status);
    const qnstack::Text subject(fnQNFS_Buffer_ReadString(fields));
    if (status != 0 || subject == nullptr || *subject == '\0') return std::nullopt;
    return Notice{size, subject.get()};
  }
};

using Notices = qnstack::Records<Notice, NoticeFormat>;

static_assert(std::is_move_constructible_v<Notices> && std::is_move_assignable_v<Notices>);
static_assert(!std::is_copy_constructible_v<Notices> && !std::is_copy_assignable_v<Notices>);
static_assert(std::is_same_v<Notices::value_type, Notice>);

class FaceRecords : public qntest::FilePortTest {
 protected:
  static constexpr const char *kFile = "/notices";

  FaceRecords() { Files().Write(kFile, "7\0first\0\n"s + "9\0second\0\n"s); }

  static std::vector<std::string> SubjectsOf(const Notices &notices) {
    std::vector<std::string> subjects;
    for (const Notice &notice : notices) subjects.push_back(notice.subject);
    return subjects;
  }
};

TEST_F(FaceRecords, AreLoaded) {
  const Notices notices{std::string(kFile)};

  EXPECT_THAT(SubjectsOf(notices), ElementsAre("first", "second"));
  EXPECT_EQ(notices.size(), 2U);
  EXPECT_EQ(notices.front().size, 7);
  EXPECT_EQ(notices.back().size, 9);
  EXPECT_STREQ(notices.file(), kFile);
}

TEST_F(FaceRecords, AreNoneWithoutAFile) {
  EXPECT_TRUE(Notices("/none").empty());
  EXPECT_TRUE(Notices(nullptr).empty());
  EXPECT_TRUE(Notices("/not\0ices"s).empty());
}

TEST_F(FaceRecords, AreLoadedAnewWithoutWhatTheFormatRefuses) {
  Notices notices(kFile);
  fnQNList_Reverse(notices.get());  // they are a list of C
  EXPECT_THAT(SubjectsOf(notices), ElementsAre("second", "first"));
  notices.push_back({11, "third"});
  Files().Write(kFile, "7\0\0\n"s + "9\0second\0\n"s);

  notices.Load();

  EXPECT_THAT(SubjectsOf(notices), ElementsAre("second"));
}

TEST_F(FaceRecords, ArePushedAsValuesChangedInTheirPlaceAndSaved) {
  Notices notices(kFile);
  EXPECT_TRUE(notices.push_back({11, "third"}));
  EXPECT_TRUE(notices.push_front({5, "zeroth"}));
  notices.erase(std::next(notices.begin()));
  for (Notice &notice : notices) notice.size *= 2;
  EXPECT_TRUE(notices.Save());
  EXPECT_EQ(Content(kFile), "10\0zeroth\0\n"s + "18\0second\0\n"s + "22\0third\0\n"s);
}

TEST_F(FaceRecords, TellThatTheyWereNotSaved) {
  Notices notices(kFile);
  FilePort().Fail("WriteToFile");

  EXPECT_FALSE(notices.Save());
  EXPECT_FALSE(Notices(nullptr).Save());
}

TEST_F(FaceRecords, MoveWithTheirFile) {
  Notices notices(kFile);
  Notices moved = std::move(notices);
  auto &itself = moved;
  moved = std::move(itself);

  moved.pop_back();
  EXPECT_TRUE(moved.Save());

  EXPECT_EQ(Content(kFile), "7\0first\0\n"s);
  EXPECT_TRUE(notices.empty());
  EXPECT_FALSE(notices.Save()) << "moved from, they have no file";
}

// A record whose places can be counted and refused.
struct Counted {
  Counted() { ++alive; }
  Counted(Counted && /*other*/) noexcept { ++alive; }
  ~Counted() { --alive; }

  static void *operator new(std::size_t size, const std::nothrow_t &tag) noexcept {
    return refused ? nullptr : ::operator new(size, tag);
  }
  static void operator delete(void *place) { ::operator delete(place); }

  static int alive;
  static bool refused;
};

int Counted::alive = 0;
bool Counted::refused = false;

struct CountedFormat {
  static void Write(QNFSBuffer *fields, const Counted & /*record*/) {
    fnQNFS_Buffer_WriteLine(fields, "record");
  }
  static std::optional<Counted> Read(QNFSBuffer *fields) {
    const qnstack::Text line(fnQNFS_Buffer_ReadString(fields));
    return std::optional<Counted>(std::in_place);
  }
};

using CountedRecords = qnstack::Records<Counted, CountedFormat>;

class FaceCountedRecords : public qntest::FilePortTest {
 protected:
  ~FaceCountedRecords() override { Counted::refused = false; }
};

TEST_F(FaceCountedRecords, AreReleasedHoweverTheyGo) {
  {
    CountedRecords records("/counted");
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(records.push_back(Counted()));
    EXPECT_TRUE(records.Save());
    records.pop_back();
    records.erase(records.begin());
    EXPECT_EQ(Counted::alive, 4);
    records.Load();
    EXPECT_EQ(Counted::alive, 6);
    records = CountedRecords("/counted");
    EXPECT_EQ(Counted::alive, 6);
    records.clear();
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_TRUE(records.push_front(Counted()));
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST_F(FaceCountedRecords, TellThatThereWasNoPlaceAndAreNotLoadedWithoutOne) {
  Files().Write("/counted", "record\0\nrecord\0\n"s);
  Counted::refused = true;
  CountedRecords records("/counted");
  EXPECT_TRUE(records.empty());
  EXPECT_FALSE(records.push_back(Counted()));
  EXPECT_FALSE(records.push_front(Counted()));
  Counted::refused = false;
  // The node's.
  EXPECT_EQ(RefusalsIn([&] { EXPECT_FALSE(records.push_back(Counted())); }, 1), 1);
  EXPECT_TRUE(records.empty());
  EXPECT_EQ(Counted::alive, 0);
}

}  // namespace
