// SPDX-License-Identifier: MIT
// Record files: a list's elements one after another, through the caller's
// write and read functions. The cache keeps its index in one.
#include "qnstack/qn_fs_file_record.h"

#include "qn_fs_file_image.h"
#include "qn_fs_file_record_internal.h"
#include "qn_fs_store.h"
#include "qn_list_internal.h"
#include "qn_owned.h"
#include "qnstack/qn_fs_comm_tools.h"

namespace {

constexpr char kSource[] = "qnstack/qnfs/common/src/qn_fs_file_record";
// After so many reads in a row that leave the position where it is, a load ends.
constexpr int kMostIdleReads = 1000;

using FirstFunction = QNListNode *(*)(const QNList *list);
using StepFunction = QNListNode *(*)(const QNListNode *iter);
using LinkFunction = void (*)(QNList *list, QNListNode *node);

// The line numbers that a save logs; those of the two saves differ.
struct SaveLines {
  int32_t enter;
  int32_t success;
  int32_t failure;
};
constexpr SaveLines kSaveLines = {177, 225, 231};
constexpr SaveLines kSaveExLines = {260, 308, 314};

// Reads all elements; false if some are left.
bool ReadElements(QNFSBuffer *record, QNList *list, QNFSRecordRead read, LinkFunction link) {
  qn::Owned<QNListNode> node;
  int idle_reads = 0;
  while (fnQNFS_Buffer_IsEnd(record) == 0 && idle_reads < kMostIdleReads) {
    // The node comes first: an element for which the heap refuses a node could
    // not be released, as only the caller knows how.
    if (node == nullptr) node.reset(qn::NewNode());
    if (node == nullptr) return false;
    const int32_t before = record->pos;
    node->data = read(record);
    if (node->data != nullptr) link(list, node.release());
    idle_reads = record->pos == before ? idle_reads + 1 : 0;
  }
  return idle_reads < kMostIdleReads;
}

// False if the list does not get all that is in the file.
bool LoadLinked(const char *name, QNList *list, QNFSRecordRead read, LinkFunction link) {
  if (name == nullptr || list == nullptr || read == nullptr) return false;
  qn::FileImage image(name);
  const bool loaded = image.IsAllocated() && fnQNFS_Load_File_To_Buffer(name, image.Record()) != 0;
  const bool whole = loaded && ReadElements(image.Record(), list, read, link);
  if (!image.IsAllocated() || (loaded && !whole)) qn::NoteUnread(name);
  return whole || (!loaded && image.IsOfNothing(name));
}

// Writes all elements; false if one is null.
bool WriteElements(QNFSBuffer *record, const QNListNode *first, StepFunction step,
                   QNFSRecordWrite write) {
  for (const QNListNode *iter = first; fnQNList_IsValid(iter) != 0; iter = step(iter)) {
    void *data = fnQNList_GetData(iter);
    if (data == nullptr) return false;
    write(record, data);
  }
  return true;
}

int32_t Save(const char *name, const QNList *list, QNFSRecordWrite write, FirstFunction first,
             StepFunction step, const SaveLines &lines) {
  if (name == nullptr || list == nullptr || write == nullptr) return 0;
  fnQNFS_printLog_param(kSource, lines.enter);
  fnQNFS_printLog("<QXW-------Enter fnQNFS_Save_List_To_File()------>");
  qn::FileImage image(name);
  if (!image.IsAllocated()) return 0;
  if (!WriteElements(image.Record(), first(list), step, write)) return 0;
  if (image.Write(name) == 0) {
    fnQNFS_printLog_param(kSource, lines.failure);
    fnQNFS_printLog("<QXW-----Exit fnQNFS_Save_List_To_File() Failed !---->");
    return 0;
  }
  fnQNFS_printLog_param(kSource, lines.success);
  fnQNFS_printLog("<QXW------Exit fnQNFS_Save_List_To_File() Successfully !------->");
  return 1;
}

}  // namespace

bool qn::LoadFileToList(const char *name, QNList *list, QNFSRecordRead read) {
  return LoadLinked(name, list, read, LinkTail);
}

void fnQNFS_Load_File_To_List(const char *name, QNList *list, QNFSRecordRead read) {
  LoadLinked(name, list, read, qn::LinkTail);
}

void fnQNFS_Load_File_To_ListEx(const char *name, QNList *list, QNFSRecordRead read) {
  LoadLinked(name, list, read, qn::LinkFront);
}

int32_t fnQNFS_Save_List_To_File(const char *name, QNList *list, QNFSRecordWrite write) {
  return Save(name, list, write, fnQNList_BeginIter, fnQNList_NextIter, kSaveLines);
}

int32_t fnQNFS_Save_List_To_FileEx(const char *name, QNList *list, QNFSRecordWrite write) {
  return Save(name, list, write, fnQNList_EndIter, fnQNList_PrevIter, kSaveExLines);
}

int32_t fnQNFS_Append_List_To_File(const char *name, QNList *list, QNFSRecordWrite write) {
  if (name == nullptr || list == nullptr || write == nullptr) return 0;
  qn::FileImage image;
  if (!image.IsAllocated()) return 0;
  const QNListNode *first = fnQNList_BeginIter(list);
  if (first != nullptr) {
    if (first->data == nullptr) return 0;
    write(image.Record(), first->data);
  }
  return image.Append(name);
}

void *fnQNFS_List_Find_Node(QNList *list, intptr_t key, QNListCompare compare) {
  if (key == 0) return nullptr;
  return fnQNList_GetData(fnQNList_CompareFind(list, &key, compare));
}
