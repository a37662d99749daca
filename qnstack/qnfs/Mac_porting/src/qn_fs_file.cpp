// The inert file port. It keeps the root directory and the synchronisation
// callback and works on streams that a caller built; every whole-file
// operation reports a fixed result, so that the layers above it take their
// failure paths.
#include "qnstack/qn_fs_file.h"

#include <cstdio>
#include <cstdlib>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

char fullPath[QNFS_PATH_BYTES];
QNFSCardSynFile CallBack_CardSynFile = nullptr;

bool HasStream(QNFSFile handle) { return handle != nullptr && *handle != nullptr; }

// An application that installed no callback is not told.
void TellApplication(const char *name) {
  if (CallBack_CardSynFile != nullptr) CallBack_CardSynFile(name, QNFS_CARD_SYN_WRITE);
}

}  // namespace

char *fnQNFS_SetFullPath(const char *path) {
  fnQN_MEMSET(fullPath, 0, sizeof fullPath);
  if (fnQN_STRLEN(path) < sizeof fullPath) fnQN_STRCPY(fullPath, path);
  return fullPath;
}

void fnQNFS_SetCardSynFileFunc(QNFSCardSynFile callback) { CallBack_CardSynFile = callback; }

int32_t fnQNFS_isFileExisted(const char * /*name*/) { return 0; }

int32_t fnQNFS_MkDir(const char * /*path*/) { return 0; }

QNFSFile fnQNFS_File_Open(const char * /*name*/, const char * /*mode*/) { return nullptr; }

int32_t fnQNFS_File_Write(const void *data, uint32_t size, uint32_t count, QNFSFile handle) {
  if (data == nullptr || !HasStream(handle)) return -1;
  const uint32_t element = size * count;
  const size_t written = std::fwrite(data, element, count, *handle);
  if (written != 0) return static_cast<int32_t>(written);
  return element == 0 ? 0 : -1;
}

int32_t fnQNFS_File_Read(void *buffer, uint32_t size, uint32_t count, QNFSFile handle) {
  if (buffer == nullptr || !HasStream(handle)) return -1;
  const uint32_t bytes = size * count;
  const size_t read = std::fread(buffer, 1, bytes, *handle);
  if (read != 0) return static_cast<int32_t>(read);
  return size == 0 ? 0 : -1;
}

int32_t fnQNFS_File_Seek(QNFSFile handle, int32_t origin, int32_t offset) {
  if (!HasStream(handle)) return -1;
  switch (origin) {
    case QNFS_SEEK_BEGIN:
      return std::fseek(*handle, offset, SEEK_SET);
    case QNFS_SEEK_END:
      return std::fseek(*handle, offset, SEEK_END);
    default:
      return std::fseek(*handle, offset, SEEK_CUR);
  }
}

void fnQNFS_File_Close(QNFSFile handle) {
  if (handle == nullptr) return;
  if (*handle != nullptr) std::fclose(*handle);
  *handle = nullptr;
  // The cell comes from its maker's heap call and goes back the same way.
  std::free(handle);
}

int32_t fnQNFS_getFileSize(const char * /*name*/) { return 0; }

int32_t fnQNFS_CopyFile(const char * /*destination*/, const char * /*source*/) { return 0; }

int32_t fnQNFS_MoveFile(const char * /*destination*/, const char * /*source*/) { return 0; }

int32_t fnQNFS_DeleteFile(const char * /*name*/) { return 1; }

int32_t fnQNFS_DelAllFiles(const char * /*path*/) { return 1; }

int32_t fnQNFS_RmDir(const char * /*path*/) { return 1; }

uint32_t fnQNFS_File_CreateDir(const char *path) {
  return static_cast<uint32_t>(fnQN_STRLEN(path));
}

int32_t fnQNFS_ReadFromFile(const char * /*name*/, int32_t /*maximum*/, void * /*destination*/,
                            int32_t * /*count*/) {
  return -1;
}

int32_t fnQNFS_WriteToFile(const void * /*data*/, int32_t /*length*/, const char *name) {
  TellApplication(name);
  return -1;
}

int32_t fnQNFS_AppendToFile(const void *data, int32_t /*length*/, const char *name) {
  if (data == nullptr || name == nullptr) TellApplication(name);
  return -1;
}

int32_t fnQNFS_WriteToFileAtPos(const void * /*data*/, int32_t /*length*/, int32_t /*position*/,
                                const char * /*name*/) {
  return -1;
}

int32_t fnQNFS_ReadFromFileAtPos(const char * /*name*/, int32_t /*position*/, int32_t /*length*/,
                                 void * /*destination*/) {
  return -1;
}
