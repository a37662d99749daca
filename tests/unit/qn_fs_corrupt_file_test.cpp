// SPDX-License-Identifier: MIT
// Guards the loading of files that a medium has spoilt: whatever the bytes,
// record files and settings are read as far as they go, and the load ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_share_mem.h"
#include "support/file_port_test.h"
#include "support/settings_list.h"
#include "support/text_list.h"
#include "support/watchdog.h"

namespace {

using namespace std::string_literals;
using namespace qntest;

// Takes the next field off a file's bytes, by a way of its own.
std::string NextField(const std::string &bytes, size_t &at) {
  std::string field;
  while (at < bytes.size() && bytes[at] != '\0') {
    field += bytes[at++];
  }
  // A last byte alone ends a field that has no other.
  if (at == bytes.size() && field.size() == 1) field.clear();
  at += at < bytes.size() ? 1 : 0;
  at += at < bytes.size() && bytes[at] == '\n' && bytes[at - 1] == '\0' ? 1 : 0;
  return field;
}

std::vector<std::string> TextsOf(const std::string &bytes) {
  std::vector<std::string> texts;
  for (size_t at = 0; at < bytes.size();) {
    texts.push_back(NextField(bytes, at));
  }
  return texts;
}

Settings SettingsOf(const std::string &bytes) {
  Settings settings;
  for (size_t at = 0; at < bytes.size();) {
    const std::string key = NextField(bytes, at);
    settings.emplace_back(key, NextField(bytes, at));
  }
  return settings;
}

// An element of every kind of field; a length of its own goes before the
// block, which is what a spoilt file would lead astray.
void *ReadMixed(QNFSBuffer *record) {
  char *text = fnQNFS_Buffer_ReadString(record);
  int32_t status = 0;
  const int32_t length = fnQNFS_Buffer_ReadInteger(record, &status);
  std::vector<char> block(length > 0 && length < 1000 ? static_cast<size_t>(length) : 0);
  fnQNFS_Buffer_ReadMem(record, static_cast<int32_t>(block.size()), block.data());
  int32_t flag = 0;
  fnQNFS_Buffer_ReadDateTime(record, &flag);
  EXPECT_TRUE(flag == 0 || flag == 1);
  EXPECT_EQ(status, 0);
  return text;
}

const std::string kMixedFile = "one\0"s + "4\0abcd\0"s + "2009:1:2:3:4:5:6\0\n"s + "two\0"s +
                               "12\0abcd\0\n\0gh\n\0\0"s + "2010:12:31:23:59:59:52\0\n"s;
const std::string kSettingsFile =
    "proxy\0"s + "10.0.0.172:80\0\n"s + "agent\0\0\n"s + "accept\0*/*\0\n"s;

class QnFsCorruptFile : public FilePortTest {
 protected:
  // Loads the bytes in every way and compares with what they say.
  static void ExpectLoads(const std::string &bytes) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    Files().Write(kName, bytes);
    TextList texts;
    TextList mixed;
    SettingsList settings;

    fnQNFS_Load_File_To_List(kName, texts.get(), ReadText);
    fnQNFS_Load_File_To_List(kName, mixed.get(), ReadMixed);
    fnQNFS_Load_INI_To_List(kName, settings.get());

    EXPECT_EQ(texts.Texts(), TextsOf(bytes));
    EXPECT_LE(mixed.get()->count, static_cast<int32_t>(bytes.size() + 3) / 4);
    EXPECT_EQ(settings.Held(), SettingsOf(bytes));
  }

 private:
  Watchdog watchdog_;
};

TEST_F(QnFsCorruptFile, LoadsTheWholeFiles) {
  Files().Write(kName, kMixedFile);
  TextList mixed;

  fnQNFS_Load_File_To_List(kName, mixed.get(), ReadMixed);

  EXPECT_THAT(mixed.Texts(), testing::ElementsAre("one", "two"));
  ExpectLoads(kSettingsFile);
}

TEST_F(QnFsCorruptFile, LoadsEveryTruncationAndAnyBitFlipped) {
  for (const std::string &file : {kMixedFile, kSettingsFile}) {
    for (size_t length = 0; length < file.size(); ++length) ExpectLoads(file.substr(0, length));
    for (size_t bit = 0; bit < file.size() * 8; ++bit) {
      std::string spoilt = file;
      spoilt[bit / 8] = static_cast<char>(spoilt[bit / 8] ^ (1 << bit % 8));
      ExpectLoads(spoilt);
    }
  }
}

// Bytes of which some that mean something come often.
std::string RandomBytes(std::mt19937 &random) {
  static const std::string often = "\0\0\n:019-a"s;
  std::string bytes(random() % 200, '\0');
  for (char &byte : bytes) {
    const uint32_t draw = random() & 0xFFFFU;
    byte = draw % 4 == 0 ? static_cast<char>(draw >> 8) : often[draw / 4 % often.size()];
  }
  return bytes;
}

TEST_F(QnFsCorruptFile, LoadsRandomBytes) {
  std::mt19937 random(1);
  for (int i = 0; i < 500; ++i) ExpectLoads(RandomBytes(random));
}

}  // namespace
