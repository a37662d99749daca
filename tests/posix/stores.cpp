// SPDX-License-Identifier: MIT
// Elements come from the library's heap, so that its own functions free them.
#include "posix/stores.h"

#include "posix/posix_root.h"
#include "qn_owned.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/settings_list.h"
#include "support/text_list.h"

namespace qntest {

namespace {

constexpr int32_t kLongLife = 100000;  // seconds
constexpr int32_t kBodyBytes = 1000;
constexpr int32_t kCacheBytes = 1048576;

void WriteElement(QNFSBuffer *record, void *element) {
  const auto *text = static_cast<const char *>(element);
  fnQNFS_Buffer_WriteString(record, text, static_cast<int32_t>(fnQN_STRLEN(text)));
}

// Stores a list of texts, but for one of which the heap refused a part: a program
// would not save that.
bool StoreRecords(const Texts &texts,
                  int32_t (*store)(const char *name, QNList *list, QNFSRecordWrite write)) {
  TextList list(texts);
  return list.get()->count == static_cast<int32_t>(texts.size()) &&
         store(kRecordFile, list.get(), WriteElement) == 1;
}

// The body that is kept for a URL and a tag: no two are alike.
std::string BodyOf(const std::string &url, int32_t tag) {
  const std::string piece = url + "#" + std::to_string(tag) + "\n";
  std::string body;
  while (body.size() < kBodyBytes) body += piece;
  body.resize(kBodyBytes);
  return body;
}

std::string BodyName(int32_t file_no) { return kCacheDirectory + std::to_string(file_no); }

CachedBody::State StateOf(const QNCacheEntry &entry) {
  std::string body(kBodyBytes + 1, '\0');
  const std::string name = BodyName(entry.file_no);
  int32_t count = 0;
  if (fnQNFS_ReadFromFile(name.c_str(), kBodyBytes + 1, body.data(), &count) != 0) {
    return CachedBody::State::kMissing;
  }
  body.resize(static_cast<size_t>(count));
  return body == BodyOf(entry.url, entry.tag) ? CachedBody::State::kWhole
                                              : CachedBody::State::kTorn;
}

}  // namespace

Texts LoadRecords() {
  TextList list;
  fnQNFS_Load_File_To_List(kRecordFile, list.get(), ReadText);
  return list.Texts();
}

bool SaveRecords(const Texts &texts) { return StoreRecords(texts, fnQNFS_Save_List_To_File); }

bool AppendRecord(const std::string &text) {
  return StoreRecords({text}, fnQNFS_Append_List_To_File);
}

Texts LoadSettings() {
  SettingsList settings;
  fnQNFS_INI_List_Init(kSettingsFile, settings.get());
  Texts texts;
  for (const auto &[key, value] : settings.Held()) texts.push_back(key + "=" + value);
  return texts;
}

bool WriteSetting(const std::string &key, const std::string &value) {
  SettingsList settings;
  fnQNFS_INI_List_Init(kSettingsFile, settings.get());
  return fnQNFS_INI_Write(kSettingsFile, settings.get(), key.c_str(), value.c_str()) == 1;
}

void ForgetCache() { fnQNStack_Cache_Free(); }

std::vector<CachedBody> LoadCache() {
  fnQNStack_Cache_Free();
  fnQNStack_Cache_Init();
  std::vector<CachedBody> entries;
  const QNListNode *node = fnQNList_BeginIter(fnQNFS_http_cache_list());
  for (; node != nullptr; node = node->next) {
    const auto &entry = *static_cast<const QNCacheEntry *>(node->data);
    entries.push_back({entry.url, entry.tag, StateOf(entry)});
  }
  return entries;
}

bool SaveToCache(const std::string &url, int32_t tag) {
  const std::string body = BodyOf(url, tag);
  return fnQNStack_Cache_Save(url.c_str(), nullptr, body.data(), kBodyBytes,
                              fnQNFS_getLocalTime() + kLongLife, tag) == 1;
}

void PlantFullCache(const Texts &urls, int32_t first_number) {
  fnQNStack_Cache_Free();
  QNList *list = fnQNFS_http_cache_list();
  const auto counted = kCacheBytes / static_cast<int32_t>(urls.size());
  int32_t number = first_number;
  for (const std::string &url : urls) {
    auto *entry = qn::NewRecord<QNCacheEntry>();
    *entry = {fnQN_MEMSTRCOPY(url.c_str()),      fnQN_MEMSTRCOPY("NULL"), number++, counted,
              fnQNFS_getLocalTime() + kLongLife, fnQNFS_getLocalTime(),   1};
    fnQNList_AddTail(list, entry);
    WriteText(BodyName(entry->file_no).c_str(), BodyOf(url, entry->tag));
  }
  qn::SaveCacheIndex();
  fnQNStack_Cache_Free();
}

}  // namespace qntest
