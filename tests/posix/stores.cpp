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

namespace qntest {

namespace {

constexpr int32_t kLongLife = 100000;  // seconds
constexpr int32_t kBodyBytes = 1000;
constexpr int32_t kCacheBytes = 1048576;

void *ReadElement(QNFSBuffer *record) { return fnQNFS_Buffer_ReadString(record); }

void WriteElement(QNFSBuffer *record, void *element) {
  const auto *text = static_cast<const char *>(element);
  fnQNFS_Buffer_WriteString(record, text, static_cast<int32_t>(fnQN_STRLEN(text)));
}

void FreeElement(void *address) { fnQN_Free(address); }

// A list of texts, freed with its elements.
class TextList {
 public:
  explicit TextList(const Texts &texts = {}) {
    fnQNList_Init(&list_);
    for (const std::string &text : texts) {
      char *copy = fnQN_MEMSTRCOPY(text.c_str());
      if (fnQNList_AddTail(&list_, copy) != nullptr) continue;
      fnQN_Free(&copy);
      whole_ = false;
    }
  }
  ~TextList() { fnQNList_Clear(&list_, FreeElement); }
  TextList(const TextList &) = delete;
  TextList &operator=(const TextList &) = delete;

  QNList *Get() { return &list_; }

  // False where the heap refused part of it: a program would not save that.
  bool IsWhole() const { return whole_; }

 private:
  QNList list_ = {};
  bool whole_ = true;
};

// Settings, loaded.
class Settings {
 public:
  Settings() { fnQNFS_INI_List_Init(kSettingsFile, &list_); }
  ~Settings() { fnQNList_Clear(&list_, fnQNFS_INI_FreeNode); }
  Settings(const Settings &) = delete;
  Settings &operator=(const Settings &) = delete;

  QNList *Get() { return &list_; }

 private:
  QNList list_ = {};
};

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

template <typename Element, typename Take>
void ForEach(QNList *list, Take take) {
  for (const QNListNode *node = fnQNList_BeginIter(list); node != nullptr; node = node->next) {
    take(*static_cast<const Element *>(node->data));
  }
}

}  // namespace

Texts LoadRecords() {
  TextList list;
  fnQNFS_Load_File_To_List(kRecordFile, list.Get(), ReadElement);
  Texts texts;
  ForEach<char>(list.Get(), [&](const char &first) { texts.emplace_back(&first); });
  return texts;
}

bool SaveRecords(const Texts &texts) {
  TextList list(texts);
  return list.IsWhole() && fnQNFS_Save_List_To_File(kRecordFile, list.Get(), WriteElement) == 1;
}

bool AppendRecord(const std::string &text) {
  TextList list({text});
  return list.IsWhole() && fnQNFS_Append_List_To_File(kRecordFile, list.Get(), WriteElement) == 1;
}

Texts LoadSettings() {
  Settings settings;
  Texts texts;
  ForEach<QNFSIniEntry>(settings.Get(), [&](const QNFSIniEntry &entry) {
    texts.push_back(std::string(entry.key) + "=" + entry.value);
  });
  return texts;
}

bool WriteSetting(const std::string &key, const std::string &value) {
  Settings settings;
  return fnQNFS_INI_Write(kSettingsFile, settings.Get(), key.c_str(), value.c_str()) == 1;
}

void ForgetCache() { fnQNStack_Cache_Free(); }

std::vector<CachedBody> LoadCache() {
  fnQNStack_Cache_Free();
  fnQNStack_Cache_Init();
  std::vector<CachedBody> entries;
  ForEach<QNCacheEntry>(fnQNFS_http_cache_list(), [&](const QNCacheEntry &entry) {
    entries.push_back({entry.url, entry.tag, StateOf(entry)});
  });
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
