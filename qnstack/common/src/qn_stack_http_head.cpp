// The table of request headers by which the stack looks like a handset. Owns
// the one table of the process; the stack fills it, the request composer reads
// it by name.
#include "qnstack/qn_stack_http_head.h"

#include "qn_ascii.h"
#include "qn_list_find.h"
#include "qn_owned.h"
#include "qn_stack_http_head_internal.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr qn::HttpHeadEntry Default(const char *name, const char *value) {
  return {const_cast<char *>(name), const_cast<char *>(value)};
}

// In the order in which they are written. The profile stands on a host of
// nobody: applications name their own handset's document.
constexpr qn::HttpHeadEntry kDefaults[] = {
    Default("Accept", "*/*,application/vnd.wap.mms-message,text/html"),
    Default("Cache-Control", "No-cache"),
    Default("Accept-Charset", "utf-8"),
    Default("User-Agent", "MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1"),
    Default("Profile", "http://www.example.com/mobile/uaprof/MRV-K415.xml"),
    Default("Accept-Language", "en"),
};

qn::HttpHeadEntry *Find(const char *name) {
  const qn::HttpHeadEntry key = {const_cast<char *>(name), nullptr};
  return qn::FindElement<qn::HttpHeadEntry>(
      qn::http_head_list, &key,
      [](const void *a, const void *b) { return qn::fnQNStack_Http_Head_Compare(a, b); });
}

void Append(const char *name, const char *value) {
  auto *entry = qn::NewRecord<qn::HttpHeadEntry>();
  if (entry == nullptr) return;
  entry->name = fnQN_MEMSTRCOPY(name);
  entry->value = fnQN_MEMSTRCOPY(value);
  if (entry->name == nullptr || entry->value == nullptr ||
      fnQNList_AddTail(qn::http_head_list, entry) == nullptr) {
    qn::fnQNStack_Http_Head_FreeNode(&entry);
  }
}

}  // namespace

QNList *qn::http_head_list = nullptr;

int qn::fnQNStack_Http_Head_Compare(const void *key, const void *stored) {
  return CompareText(static_cast<const HttpHeadEntry *>(key)->name,
                     static_cast<const HttpHeadEntry *>(stored)->name);
}

void qn::fnQNStack_Http_Head_FreeNode(void *address) {
  auto *entry = PointerAt<HttpHeadEntry>(address);
  if (entry == nullptr) return;
  fnQN_Free(&entry->name);
  fnQN_Free(&entry->value);
  fnQN_Free(address);
}

void fnQNStack_Http_Head_Write(const char *name, const char *value) {
  if (qn::http_head_list == nullptr) qn::http_head_list = qn::NewRecord<QNList>();
  qn::HttpHeadEntry *entry = Find(name);
  if (entry == nullptr) {
    Append(name, value);
    return;
  }
  // The new value may be the old one itself, so it is copied first.
  char *copy = fnQN_MEMSTRCOPY(value);
  if (copy == nullptr) return;
  fnQN_Free(&entry->value);
  entry->value = copy;
}

const char *fnQNStack_Http_Head_Read(const char *name) {
  const qn::HttpHeadEntry *entry = Find(name);
  return entry == nullptr ? nullptr : entry->value;
}

void fnQNStack_Http_Head_SetDefault(void) {
  for (const qn::HttpHeadEntry &entry : kDefaults) {
    fnQNStack_Http_Head_Write(entry.name, entry.value);
  }
}

void fnQNStack_Http_Head_FreeAll(void) {
  if (qn::http_head_list == nullptr) return;
  fnQNList_Clear(qn::http_head_list, qn::fnQNStack_Http_Head_FreeNode);
  fnQN_Free(&qn::http_head_list);
}
