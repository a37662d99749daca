// The cache store: an index of entries in memory and in one file, and one body
// file per entry. Owns the index and its counters; the application calls it
// around its transfers.
#include "qnstack/qn_stack_http_cache.h"

#include <cstring>

#include "qn_fs_filebuffer_internal.h"
#include "qn_owned.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr int32_t kFirstMode = 2;
constexpr int32_t kDecimal = 10;

// Sums wrap like any count of 32 bits; files may hold any sizes.
int32_t Sum(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

int32_t Difference(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

}  // namespace

QNList *qn::http_cache_list = nullptr;
int32_t qn::http_cache_items = 0;
int32_t qn::http_cache_size = 0;
int32_t qn::http_cache_state = kFirstMode;

void *qn::fnQNStack_Cache_Read_Record(QNFSBuffer *record) {
  auto *entry = NewRecord<QNCacheEntry>();
  if (entry == nullptr) return nullptr;
  const int32_t start = record == nullptr ? 0 : record->pos;
  entry->url = fnQNFS_Buffer_ReadString(record);
  entry->label = fnQNFS_Buffer_ReadString(record);
  bool whole = entry->url != nullptr && entry->label != nullptr;
  for (int32_t *number :
       {&entry->file_no, &entry->size, &entry->expires, &entry->stored_at, &entry->tag}) {
    int32_t status = 0;
    *number = fnQNFS_Buffer_ReadInteger(record, &status);
    whole = whole && status == 0;
  }
  if (whole || record == nullptr) return entry;
  // A field that the heap refused was not stepped over: those behind it would
  // be taken for others, so the index ends before this entry.
  record->pos = start;
  fnQNStack_Cache_FreeNode(&entry);
  return nullptr;
}

void qn::fnQNStack_Cache_Write_Record(QNFSBuffer *record, void *entry) {
  const auto *cached = static_cast<const QNCacheEntry *>(entry);
  WriteTextField(record, cached->url);
  WriteTextField(record, cached->label);
  fnQNFS_Buffer_WriteInteger(record, cached->file_no);
  fnQNFS_Buffer_WriteInteger(record, cached->size);
  fnQNFS_Buffer_WriteLong(record, cached->expires);
  fnQNFS_Buffer_WriteLong(record, cached->stored_at);
  fnQNFS_Buffer_WriteInteger(record, cached->tag);
}

void qn::fnQNStack_Cache_FreeNode(void *address) {
  if (address == nullptr) return;
  auto *entry = PointerAt<QNCacheEntry>(address);
  if (entry == nullptr) return;
  fnQN_Free(&entry->url);
  fnQN_Free(&entry->label);
  fnQN_Free(&entry);
}

int qn::fnQNStack_Cache_Compare(const void *key, const void *stored) {
  return fnQN_STRCMP(static_cast<const QNCacheEntry *>(key)->url,
                     static_cast<const QNCacheEntry *>(stored)->url);
}

int qn::fnQNStack_Cache_Compare_FileID(const void *key, const void *stored) {
  return Difference(static_cast<const QNCacheEntry *>(key)->file_no,
                    static_cast<const QNCacheEntry *>(stored)->file_no);
}

void qn::init_node_filename(int32_t file_no, char *name) {
  std::memcpy(name, kCacheFolder, sizeof kCacheFolder);
  fnQNRTL_itoa(file_no, name + sizeof kCacheFolder - 1, kDecimal);
}

int32_t qn::delete_node_filename(const QNCacheEntry *entry) {
  const int32_t result = fnQNFS_DeleteFile(BodyName(entry->file_no).Text());
  http_cache_items = Difference(http_cache_items, 1);
  http_cache_size = Difference(http_cache_size, entry->size);
  return result;
}

void qn::CountIn(const QNCacheEntry &entry) {
  http_cache_items = Sum(http_cache_items, 1);
  http_cache_size = Sum(http_cache_size, entry.size);
}

int32_t qn::SaveCacheIndex() {
  return fnQNFS_Save_List_To_File(kCacheIndex, http_cache_list, fnQNStack_Cache_Write_Record);
}

int32_t fnQNStack_LoadCache_To_List(void) {
  fnQNFS_MkDir(qn::kCacheFolder);
  if (qn::http_cache_list != nullptr) return 1;
  qn::http_cache_list = qn::NewRecord<QNList>();
  if (qn::http_cache_list == nullptr) return 0;
  fnQNFS_Load_File_To_List(qn::kCacheIndex, qn::http_cache_list, qn::fnQNStack_Cache_Read_Record);
  return 1;
}

void fnQNStack_Cache_Init(void) {
  fnQNStack_LoadCache_To_List();
  qn::http_cache_size = 0;
  qn::http_cache_items = 0;
  for (const QNListNode *node = fnQNList_BeginIter(qn::http_cache_list); node != nullptr;
       node = node->next) {
    qn::CountIn(*static_cast<const QNCacheEntry *>(node->data));
  }
}

void fnQNStack_Cache_Free(void) {
  if (qn::http_cache_list == nullptr) return;
  fnQNList_Clear(qn::http_cache_list, qn::fnQNStack_Cache_FreeNode);
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
  (void)fnQNFS_http_cache_list();
  fnQNFS_DelAllFiles(qn::kCacheFolder);
  fnQNList_Clear(qn::http_cache_list, qn::fnQNStack_Cache_FreeNode);
  return qn::SaveCacheIndex();
}

void fnQNStack_Cache_setMode(int32_t mode) { qn::http_cache_state = mode; }

int32_t fnQNStack_Cache_getState(void) { return qn::http_cache_state; }
