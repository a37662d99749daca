// SPDX-License-Identifier: MIT
// The settings store: keys and values in a list of the application's, and one
// file that holds them all.
#include "qnstack/qn_fs_ini.h"

#include <cstdint>

#include "qn_fs_file_image.h"
#include "qn_fs_store.h"
#include "qn_owned.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_string.h"

namespace {

// Appends an entry that takes over both strings. Returns 1, or 0 with both freed
// if one is null or the heap refuses the rest.
int32_t AddEntry(QNList *list, char *key, char *value) {
  auto *entry = qn::NewRecord<QNFSIniEntry>();
  if (entry == nullptr) {
    fnQN_Free(&key);
    fnQN_Free(&value);
    return 0;
  }
  *entry = {key, value};
  if (key != nullptr && value != nullptr && fnQNList_AddTail(list, entry) != nullptr) return 1;
  fnQNFS_INI_FreeNode(&entry);
  return 0;
}

QNFSIniEntry *Find(QNList *list, const char *key) {
  return static_cast<QNFSIniEntry *>(
      fnQNFS_List_Find_Node(list, reinterpret_cast<intptr_t>(key), fnQNFS_INI_Compare));
}

}  // namespace

void fnQNFS_INI_List_Init(const char *name, QNList *list) {
  fnQNList_Init(list);
  fnQNFS_Load_INI_To_List(name, list);
}

void fnQNFS_Load_INI_To_List(const char *name, QNList *list) {
  qn::FileImage image(name);
  if (!image.IsAllocated()) qn::NoteUnread(name);
  if (!image.IsAllocated() || list == nullptr) return;
  fnQNList_Clear(list, fnQNFS_INI_FreeNode);
  QNFSBuffer *record = image.Record();
  if (fnQNFS_Load_File_To_Buffer(name, record) == 0) return;
  while (fnQNFS_Buffer_IsEnd(record) == 0) {
    char *key = fnQNFS_Buffer_ReadString(record);
    char *value = fnQNFS_Buffer_ReadString(record);
    if (AddEntry(list, key, value) == 0) {
      qn::NoteUnread(name);
      return;
    }
  }
}

int32_t fnQNFS_Write_INI_To_File(const char *name, QNList *list) {
  if (list == nullptr) return 0;
  qn::FileImage image(name);
  if (!image.IsAllocated()) return 0;
  for (const QNListNode *node = fnQNList_BeginIter(list); node != nullptr; node = node->next) {
    const auto *entry = static_cast<const QNFSIniEntry *>(node->data);
    for (const char *text : {entry->key, entry->value}) qn::WriteTextField(image.Record(), text);
    fnQNFS_Buffer_WriteLineTag(image.Record());
  }
  return image.Write(name);
}

int32_t fnQNFS_INI_Write(const char *name, QNList *list, const char *key, const char *value) {
  if (name == nullptr || fnQNFS_INI_WriteRAM(list, key, value) == 0) return 0;
  return fnQNFS_Write_INI_To_File(name, list);
}

int32_t fnQNFS_INI_WriteRAM(QNList *list, const char *key, const char *value) {
  if (list == nullptr || key == nullptr) return 0;
  // The value may be the stored one, so it is copied before that one is freed.
  char *copy = fnQN_MEMSTRCOPY(value);
  QNFSIniEntry *entry = Find(list, key);
  if (entry == nullptr) return AddEntry(list, fnQN_MEMSTRCOPY(key), copy);
  fnQN_Free(&entry->value);
  entry->value = copy;
  return copy != nullptr ? 1 : 0;
}

int32_t fnQNFS_INI_Read(const char *name, QNList *list, const char *key, char *destination) {
  if (name == nullptr || list == nullptr || key == nullptr) return 0;
  const QNFSIniEntry *entry = Find(list, key);
  if (entry == nullptr || entry->value == nullptr || destination == nullptr) return 0;
  fnQN_MEMCPY(destination, entry->value, fnQN_STRLEN(entry->value) + 1);
  return 1;
}

int fnQNFS_INI_Compare(const void *key, const void *entry) {
  if (key == nullptr || entry == nullptr) return -1;
  return fnQN_STRCMP(qn::PointerAt<const char>(key), static_cast<const QNFSIniEntry *>(entry)->key);
}

void fnQNFS_INI_FreeNode(void *address) {
  if (address == nullptr) return;
  auto *entry = qn::PointerAt<QNFSIniEntry>(address);
  if (entry == nullptr) return;
  fnQN_Free(&entry->key);
  fnQN_Free(&entry->value);
  fnQN_Free(address);
}
