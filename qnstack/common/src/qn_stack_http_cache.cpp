// SPDX-License-Identifier: MIT
// The cache store: an index of entries in memory and in one file, and one body
// file per entry. Applications call it before and after their transfers. It
// keeps the index, its two counters and the application's mode.
#include "qn_fs_file_image.h"
#include "qn_fs_file_record_internal.h"
#include "qn_owned.h"
#include "qn_stack_http_cache_internal.h"
#include "qn_wrapped_sum.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr int32_t kFirstMode = 2;
constexpr int32_t kDecimal = 10;

}  // namespace

QNList *qn::http_cache_list = nullptr;
int32_t qn::http_cache_items = 0;
int32_t qn::http_cache_size = 0;
int32_t qn::http_cache_state = kFirstMode;

void *qn::ReadCacheEntry(QNFSBuffer *record) {
  auto *entry = NewRecord<QNCacheEntry>();
  if (entry == nullptr) return nullptr;
  const int32_t start = record->pos;
  bool whole = true;
  for (char **text : {&entry->url, &entry->label}) {
    *text = fnQNFS_Buffer_ReadString(record);
    whole = whole && *text != nullptr;
  }
  for (int32_t *number :
       {&entry->file_no, &entry->size, &entry->expires, &entry->stored_at, &entry->tag}) {
    int32_t status = 0;
    *number = fnQNFS_Buffer_ReadInteger(record, &status);
    whole = whole && status == 0;
  }
  if (whole) return entry;
  // The reader does not step over a field for which the heap refused memory, so
  // the fields behind it would be taken for others. Going back to where the
  // entry starts makes the load end there.
  record->pos = start;
  FreeCacheEntry(&entry);
  return nullptr;
}

void qn::WriteCacheEntry(QNFSBuffer *record, void *entry) {
  const auto &cached = *static_cast<const QNCacheEntry *>(entry);
  for (const char *text : {cached.url, cached.label}) WriteTextField(record, text);
  for (const int32_t number :
       {cached.file_no, cached.size, cached.expires, cached.stored_at, cached.tag}) {
    fnQNFS_Buffer_WriteInteger(record, number);
  }
}

void qn::FreeCacheEntry(void *address) {
  if (address == nullptr) return;
  auto *entry = PointerAt<QNCacheEntry>(address);
  if (entry == nullptr) return;
  fnQN_Free(&entry->url);
  fnQN_Free(&entry->label);
  fnQN_Free(&entry);
}

qn::BodyName::BodyName(int32_t file_no) {
  fnQN_STRCPY(text_.data(), kCacheDirectory);
  fnQNRTL_itoa(file_no, text_.data() + sizeof kCacheDirectory - 1, kDecimal);
}

void qn::CountCacheEntry(const QNCacheEntry &entry) {
  http_cache_items = WrappedSum(http_cache_items, 1);
  http_cache_size = WrappedSum(http_cache_size, entry.size);
}

int32_t qn::DeleteCacheBody(const QNCacheEntry &entry) {
  const int32_t result = fnQNFS_DeleteFile(BodyName(entry.file_no).Text());
  http_cache_items = WrappedSum(http_cache_items, -1);
  http_cache_size = WrappedSum(http_cache_size, -int64_t{entry.size});
  return result;
}

int32_t qn::SaveCacheIndex() {
  const int32_t saved = fnQNFS_Save_List_To_File(kCacheIndex, http_cache_list, WriteCacheEntry);
  NoteIndexWritten(saved != 0);
  return saved;
}

int32_t fnQNStack_LoadCache_To_List(void) {
  fnQNFS_MkDir(qn::kCacheDirectory);
  if (qn::http_cache_list != nullptr) return 1;
  qn::http_cache_list = qn::NewRecord<QNList>();
  if (qn::http_cache_list == nullptr) return 0;
  qn::NoteIndexLoaded(qn::LoadFileToList(qn::kCacheIndex, qn::http_cache_list, qn::ReadCacheEntry));
  return 1;
}

void fnQNStack_Cache_Init(void) {
  fnQNStack_LoadCache_To_List();
  qn::http_cache_size = 0;
  qn::http_cache_items = 0;
  for (const QNListNode *node = fnQNList_BeginIter(qn::http_cache_list); node != nullptr;
       node = node->next) {
    qn::CountCacheEntry(*static_cast<const QNCacheEntry *>(node->data));
  }
}

void fnQNStack_Cache_Free(void) {
  if (qn::http_cache_list == nullptr) return;
  fnQNList_Clear(qn::http_cache_list, qn::FreeCacheEntry);
  fnQN_Free(&qn::http_cache_list);
}

QNList *fnQNFS_http_cache_list(void) {
  if (qn::http_cache_list == nullptr) fnQNStack_LoadCache_To_List();
  return qn::http_cache_list;
}

int32_t fnQNStack_Cache_LoadFileToBuffer(int32_t file_no, void *destination, int32_t maximum) {
  int32_t count = 0;
  return fnQNFS_ReadFromFile(qn::BodyName(file_no).Text(), maximum, destination, &count);
}

int32_t fnQNStack_Cache_Delete_All(void) {
  QNList *list = fnQNFS_http_cache_list();
  fnQNFS_DelAllFiles(qn::kCacheDirectory);
  fnQNList_Clear(list, qn::FreeCacheEntry);
  return qn::SaveCacheIndex();
}

void fnQNStack_Cache_setMode(int32_t mode) { qn::http_cache_state = mode; }

int32_t fnQNStack_Cache_getState(void) { return qn::http_cache_state; }
