// SPDX-License-Identifier: MIT
// What goes into the cache, what is thrown out for it, and how an entry is found
// again. Applications call it around their transfers.
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "qn_owned.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kNearExpiry = 99;      // seconds; what expires by then is purged
constexpr int32_t kEntryLimit = 200;     // after a save one entry fewer is held
constexpr int32_t kSizeLimit = 1048576;  // bytes; all bodies together are smaller
constexpr int32_t kPromotionDepth = 99;  // an entry behind this position is not moved
constexpr char kNoLabel[] = "NULL";

struct ReleaseEntry {
  void operator()(QNCacheEntry *entry) const { qn::FreeCacheEntry(&entry); }
};
using OwnedEntry = std::unique_ptr<QNCacheEntry, ReleaseEntry>;

const QNCacheEntry &EntryOf(const void *element) {
  return *static_cast<const QNCacheEntry *>(element);
}

int CompareUrls(const void *key, const void *stored) {
  return fnQN_STRCMP(EntryOf(key).url, EntryOf(stored).url);
}

// The body of a save. It may be a string of an entry that the save throws out;
// that entry is then kept here until the body is written.
struct Body {
  const void *bytes;
  int32_t length;
  OwnedEntry holder;
};

bool IsWithin(const char *text, const void *address) {
  const uintptr_t offset = reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(text);
  return offset <= fnQN_STRLEN(text);
}

// Throws out an entry: its body file, its place in the list, and the record.
void Evict(QNListNode *node, Body *body) {
  OwnedEntry entry(static_cast<QNCacheEntry *>(node->data));
  qn::DeleteCacheBody(*entry);
  fnQNList_Remove(qn::http_cache_list, node);
  const bool holds_body = IsWithin(entry->url, body->bytes) || IsWithin(entry->label, body->bytes);
  if (holds_body) body->holder = std::move(entry);
}

void PurgeNearExpiry(int32_t now, Body *body) {
  QNListNode *next = nullptr;
  for (QNListNode *node = fnQNList_BeginIter(qn::http_cache_list); node != nullptr; node = next) {
    next = node->next;
    if (int64_t{EntryOf(node->data).expires} - now <= kNearExpiry) Evict(node, body);
  }
}

// The counters decide, though they can differ from the list: an entry whose URL
// is saved again is taken off them twice.
bool HasRoomFor(int32_t length) {
  const int64_t free_items = int64_t{kEntryLimit} - qn::http_cache_items;
  return free_items > 1 && length < int64_t{kSizeLimit} - qn::http_cache_size;
}

// Throws out the oldest entries until there is room; false if there is none even
// in an empty cache.
bool MakeRoom(Body *body) {
  while (!HasRoomFor(body->length)) {
    QNListNode *oldest = fnQNList_EndIter(qn::http_cache_list);
    if (oldest == nullptr) return false;
    Evict(oldest, body);
  }
  return true;
}

QNListNode *FindNode(const char *url) {
  if (fnQNFS_http_cache_list() == nullptr) return nullptr;
  QNCacheEntry key = {};
  key.url = const_cast<char *>(url);
  return fnQNList_CompareFind(qn::http_cache_list, &key, CompareUrls);
}

// A new entry with copies of both strings; null when the heap refuses.
OwnedEntry NewEntry(const char *url, const char *label) {
  OwnedEntry entry(qn::NewRecord<QNCacheEntry>());
  if (entry == nullptr) return nullptr;
  entry->url = fnQNStack_StrDup(url);
  entry->label = fnQNStack_StrDup(label != nullptr ? label : kNoLabel);
  const bool complete = entry->url != nullptr && entry->label != nullptr;
  return complete ? std::move(entry) : nullptr;
}

}  // namespace

int32_t fnQNStack_Cache_Save(const char *url, const char *label, const void *body, int32_t length,
                             int32_t expires, int32_t tag) {
  if (url == nullptr) return 0;
  Body saved = {body, length, nullptr};
  // The strings are copied first: they may be those of an entry that is thrown out.
  OwnedEntry entry = NewEntry(url, label);
  const QNListNode *old = FindNode(url);
  if (entry == nullptr || qn::http_cache_list == nullptr || !qn::IsIndexKnown()) return 0;

  // The old entry stays in the list, behind the new one, until it is thrown
  // out and taken off the counters once more.
  if (old != nullptr) qn::DeleteCacheBody(EntryOf(old->data));
  PurgeNearExpiry(fnQNFS_getLocalTime(), &saved);
  if (!MakeRoom(&saved)) return 0;
  const std::optional<int32_t> file_no = qn::FreeFileNumber();
  if (!file_no) return 0;

  entry->size = length;
  entry->tag = tag;
  entry->expires = expires;
  entry->stored_at = fnQNFS_getLocalTime();
  entry->file_no = *file_no;
  const qn::BodyName name(entry->file_no);
  if (fnQNFS_WriteToFile(body, length, name.Text()) == -1) return 0;
  if (fnQNList_AddFront(qn::http_cache_list, entry.get()) == nullptr) {
    // Without an entry nothing but fnQNStack_Cache_Delete_All() would delete the file.
    fnQNFS_DeleteFile(name.Text());
    return 0;
  }
  qn::CountCacheEntry(*entry.release());  // the list owns it from here on
  qn::SaveCacheIndex();
  return 1;
}

QNCacheEntry *fnQNStack_Cache_FindbyUrl(const char *url) {
  return static_cast<QNCacheEntry *>(fnQNList_GetData(FindNode(url)));
}

QNCacheEntry *fnQNStack_Cache_FindbyUrl_NoExpired(const char *url) {
  QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl(url);
  if (entry == nullptr || entry->expires <= fnQNFS_getLocalTime()) return nullptr;
  if (fnQNFS_List_getPos(qn::http_cache_list, entry) > kPromotionDepth) return entry;
  fnQNFS_List_MoveToHead(qn::http_cache_list, entry);
  qn::SaveCacheIndex();
  return entry;
}
