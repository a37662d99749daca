// SPDX-License-Identifier: MIT
// A record file, a settings file and a cache, with what may differ between
// machines in them: numbers at their ends, all bytes, and dates.
#include <array>
#include <climits>
#include <cstring>
#include <optional>

#include "crossing.h"
#include "qnstack/qnstack.hpp"
#include "support/scripted_clock.h"

namespace crossing {
namespace {

constexpr char kRecords[] = "/records";
constexpr char kSettings[] = "/settings.ini";

// Every byte but the terminator and the line end, which is a line tag of its own.
std::string AllCharacters() {
  std::string text;
  for (int byte = 1; byte <= UCHAR_MAX; ++byte) {
    if (byte != '\n') text += static_cast<char>(byte);
  }
  return text;
}

using Block = std::array<unsigned char, 256>;

Block AllBytesBlock() {
  Block block{};
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(255 - i);
  return block;
}

struct Record {
  int32_t number = 0;
  std::string text;
  QNTime time{};
  Block block{};
};

bool IsSame(const Record &one, const Record &other) {
  return one.number == other.number && one.text == other.text && one.block == other.block &&
         std::memcmp(&one.time, &other.time, sizeof one.time) == 0;
}

struct RecordFormat {
  static void Write(QNFSBuffer *fields, const Record &record) {
    fnQNFS_Buffer_WriteInteger(fields, record.number);
    fnQNFS_Buffer_WriteString(fields, record.text.data(), static_cast<int32_t>(record.text.size()));
    fnQNFS_Buffer_WriteDateTime(fields, record.time);
    fnQNFS_Buffer_WriteMem(fields, record.block.data(), static_cast<int32_t>(record.block.size()));
    fnQNFS_Buffer_WriteLineTag(fields);
  }

  static std::optional<Record> Read(QNFSBuffer *fields) {
    Record record;
    int32_t status = 0;
    record.number = fnQNFS_Buffer_ReadInteger(fields, &status);
    char *text = fnQNFS_Buffer_ReadString(fields);
    if (text != nullptr) record.text = text;
    fnQN_Free(&text);
    record.time = fnQNFS_Buffer_ReadDateTime(fields, nullptr);
    fnQNFS_Buffer_ReadMem(fields, static_cast<int32_t>(record.block.size()), record.block.data());
    return status == 0 ? std::optional(record) : std::nullopt;
  }
};

using Records = qnstack::Records<Record, RecordFormat>;

std::vector<Record> KnownRecords() {
  return {{.number = INT32_MIN, .text = "first", .time = {1970, 1, 1, 0, 0, 0, 0}, .block = {}},
          {.number = -1,
           .text = AllCharacters(),
           .time = {2038, 1, 19, 3, 14, 8, 3},
           .block = AllBytesBlock()},
          {.number = 0, .text = "", .time = {}, .block = AllBytesBlock()},
          {.number = INT32_MAX,
           .text = "\xC3\xA4\xE2\x82\xAC",
           .time = {2106, 2, 7, 6, 28, 16, 5},
           .block = {}}};
}

using Setting = std::pair<std::string, std::string>;

std::vector<Setting> KnownSettings() {
  return {{"proxy-host", "10.0.0.172"},
          {"empty", ""},
          {"all", AllCharacters()},
          {AllCharacters(), "\xFF"}};
}

// A cached answer; the later ones were saved later.
struct Answer {
  std::string url;
  std::string label;
  std::string body;
  int32_t tag;
};

std::vector<Answer> KnownAnswers() {
  const Block bytes = AllBytesBlock();
  return {{"http://a.invalid/", "text/plain", "plain", INT32_MIN},
          {"http://a.invalid/?\xE4", AllCharacters(), {bytes.begin(), bytes.end()}, -1},
          {"http://b.invalid/long", "", std::string(70000, '\x80'), INT32_MAX}};
}

// The expiry that the cache makes of a lifetime and the clock, or of a date.
int32_t ExpiryOf(const Answer &answer) {
  fnQNStack_Cache_InitTime();
  fnQNStack_Cache_ParseCacheTime("Date: Mon, 15 Jun 2009 12:00:00 GMT");
  fnQNStack_Cache_ParseCacheTime(answer.tag < 0 ? "Cache-Control: max-age=86400"
                                                : "Expires: Tue, 16 Jun 2009 12:00:00 GMT");
  return fnQNStack_Cache_getExpired();
}

qntest::LocalMoment MomentOf(int number) {
  return {.year = 2009, .month = 6, .day = 15, .hour = 12, .second = number};
}

bool IsKept(const Answer &answer, const QNCacheEntry *entry) {
  if (entry == nullptr || entry->label != answer.label || entry->tag != answer.tag) return false;
  if (entry->expires != ExpiryOf(answer)) return false;
  std::string body(answer.body.size(), '\0');
  return entry->size == static_cast<int32_t>(body.size()) &&
         fnQNStack_Cache_LoadFileToBuffer(entry->file_no, body.data(), entry->size) == 0 &&
         body == answer.body;
}

}  // namespace

bool WriteRecords() {
  Records records(kRecords);
  bool held = true;
  for (const Record &record : KnownRecords()) held = records.push_back(record) && held;
  return held && records.Save();
}

bool ReadRecords() {
  const Records records(kRecords);
  const std::vector<Record> known = KnownRecords();
  return std::equal(records.begin(), records.end(), known.begin(), known.end(), IsSame);
}

bool WriteSettings() {
  qnstack::Settings settings(kSettings);
  bool held = true;
  for (const auto &[key, value] : KnownSettings()) held = settings.Set(key, value) && held;
  return held && settings.Save();
}

bool ReadSettings() {
  const qnstack::Settings settings(kSettings);
  const std::vector<Setting> known = KnownSettings();
  return std::equal(settings.begin(), settings.end(), known.begin(), known.end(),
                    [](const QNFSIniEntry &entry, const Setting &setting) {
                      return entry.key == setting.first && entry.value == setting.second;
                    });
}

bool WriteCache() {
  qntest::ScriptedClock clock(MomentOf(0));
  fnQNStack_Cache_Init();
  bool saved = true;
  int number = 0;
  for (const Answer &answer : KnownAnswers()) {
    clock.SetLocal(MomentOf(++number));
    saved = fnQNStack_Cache_Save(answer.url.c_str(), answer.label.c_str(), answer.body.data(),
                                 static_cast<int32_t>(answer.body.size()), ExpiryOf(answer),
                                 answer.tag) == 1 &&
            saved;
  }
  fnQNStack_Cache_Free();
  return saved;
}

bool ReadCache() {
  qntest::ScriptedClock clock(MomentOf(0));
  fnQNStack_Cache_Init();
  bool kept = true;
  int number = 0;
  for (const Answer &answer : KnownAnswers()) {
    clock.SetLocal(MomentOf(++number));
    kept = IsKept(answer, fnQNStack_Cache_FindbyUrl(answer.url.c_str())) && kept;
  }
  fnQNStack_Cache_Free();
  return kept;
}

}  // namespace crossing
