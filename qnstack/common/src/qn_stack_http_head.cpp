// SPDX-License-Identifier: MIT
// The table of request headers by which the client looks like a handset. The
// stack fills it when it starts, applications change it, and the composer of
// requests reads it by name. It keeps the one table of the process.
#include "qnstack/qn_stack_http_head.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "qn_owned.h"
#include "qn_stack_http_head_internal.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr qn::HttpHeadEntry Default(const char *name, const char *value) {
  return {const_cast<char *>(name), const_cast<char *>(value)};
}

// In the order in which they are written. Requests carry only the entries that
// kSentHeaders in qn_stack_http_request.cpp names. The host of the profile's
// URL belongs to nobody: an application names its own handset's document.
constexpr qn::HttpHeadEntry kDefaults[] = {
    Default("Accept", "*/*,application/vnd.wap.mms-message,text/html"),
    Default("Cache-Control", "No-cache"),
    Default("Accept-Charset", "utf-8"),
    Default("User-Agent", "MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1"),
    Default("Profile", "http://www.example.com/mobile/uaprof/MRV-K415.xml"),
    Default("Accept-Language", "en"),
};

// For each of these names, whether the heap refused the value written last.
bool refused[std::size(kDefaults)];

// The mark of a name among these; null for any other name.
bool *RefusalOf(const char *name) {
  for (std::size_t i = 0; i < std::size(kDefaults); ++i) {
    if (fnQN_STRCMP(kDefaults[i].name, name) == 0) return &refused[i];
  }
  return nullptr;
}

qn::HttpHeadEntry *Find(const char *name) {
  const qn::HttpHeadEntry key = {const_cast<char *>(name), nullptr};
  return static_cast<qn::HttpHeadEntry *>(
      fnQNList_GetData(fnQNList_CompareFind(qn::http_head_list, &key, qn::CompareHeadNames)));
}

// Adds an entry at the end; false when the heap refuses.
bool Append(const char *name, const char *value) {
  auto *entry = qn::NewRecord<qn::HttpHeadEntry>();
  if (entry == nullptr) return false;
  entry->name = fnQN_MEMSTRCOPY(name);
  entry->value = fnQN_MEMSTRCOPY(value);
  if (entry->name == nullptr || entry->value == nullptr ||
      fnQNList_AddTail(qn::http_head_list, entry) == nullptr) {
    qn::FreeHeadEntry(&entry);
    return false;
  }
  return true;
}

// Replaces the value of an entry; false when the heap refuses.
bool Replace(qn::HttpHeadEntry *entry, const char *value) {
  // The new value may be the old one itself, so it is copied first.
  char *copy = fnQN_MEMSTRCOPY(value);
  if (copy == nullptr) return false;
  fnQN_Free(&entry->value);
  entry->value = copy;
  return true;
}

}  // namespace

QNList *qn::http_head_list = nullptr;

bool qn::IsHeadRefused(const char *name) {
  const bool *refusal = RefusalOf(name);
  return refusal != nullptr && *refusal;
}

int qn::CompareHeadNames(const void *key, const void *stored) {
  return fnQN_STRCMP(static_cast<const HttpHeadEntry *>(key)->name,
                     static_cast<const HttpHeadEntry *>(stored)->name);
}

void qn::FreeHeadEntry(void *address) {
  auto *entry = PointerAt<HttpHeadEntry>(address);
  if (entry == nullptr) return;
  fnQN_Free(&entry->name);
  fnQN_Free(&entry->value);
  fnQN_Free(address);
}

void fnQNStack_Http_Head_Write(const char *name, const char *value) {
  if (qn::http_head_list == nullptr) qn::http_head_list = qn::NewRecord<QNList>();
  qn::HttpHeadEntry *entry = Find(name);
  const bool stored = entry == nullptr ? Append(name, value) : Replace(entry, value);
  if (bool *refusal = RefusalOf(name)) *refusal = !stored;
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
  std::fill(std::begin(refused), std::end(refused), false);
  if (qn::http_head_list == nullptr) return;
  fnQNList_Clear(qn::http_head_list, qn::FreeHeadEntry);
  fnQN_Free(&qn::http_head_list);
}
