// SPDX-License-Identifier: MIT
// Stores on a port that promises nothing: the old content stands under the
// file's name with ".bak" until the new one is written. It is put back when the
// save fails or when a load finds it.
#include "qn_fs_store.h"
#include "qn_owned.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"

namespace {

constexpr int32_t kUnknown = -1;

void PutBackupBack(const char *name) {
  const qn::Owned<char> backup(fnQNFS_getBak_FileName(name));
  if (backup == nullptr || fnQNFS_isFileExisted(backup.get()) <= 0) return;
  fnQNFS_DeleteFile(name);
  fnQNFS_MoveFile(name, backup.get());
}

}  // namespace

bool qn::Store(const char *name, const void *data, int32_t length, StoreWay way) {
  const Owned<char> backup(fnQNFS_getBak_FileName(name));
  if (backup != nullptr) {
    fnQNFS_DeleteFile(backup.get());
    fnQNFS_MoveFile(backup.get(), name);
    fnQNFS_CopyFile(name, backup.get());
  }
  const auto store = way == StoreWay::kAppend ? fnQNFS_AppendToFile : fnQNFS_WriteToFile;
  if (store(data, length, name) == -1) {
    fnQNFS_DeleteFile(name);
    if (backup != nullptr) fnQNFS_MoveFile(name, backup.get());
    return false;
  }
  if (backup != nullptr) fnQNFS_DeleteFile(backup.get());
  return true;
}

int32_t qn::Load(const char *name, LoadArea *area) {
  PutBackupBack(name);
  const int32_t size = fnQNFS_getFileSize(name);
  if (size == kUnknown) return 0;
  int32_t count = kUnknown;
  int32_t result = -1;
  if (area->MakeRoom(size)) {
    result = fnQNFS_ReadFromFile(name, area->Room(), area->Bytes(), &count);
  }
  return area->End(result, count);
}

// Such a port gives no size for a file that is not there, and no other reason.
bool qn::CountsAsNone(const char * /*name*/) { return true; }

// Nor does it know what a program has read.
void qn::NoteUnread(const char * /*name*/) {}
