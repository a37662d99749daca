// SPDX-License-Identifier: MIT
// The part of the file primitives that is the same in every port: the
// operations on streams, and the root directory and the synchronisation
// callback, which it keeps for the ports.
#include "qn_fs_file_port.h"

#include <cstdio>
#include <cstdlib>

#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

char root_directory[QNFS_PATH_BYTES];
QNFSCardSynFile tell_written = nullptr;

bool HasStream(QNFSFile handle) { return handle != nullptr && *handle != nullptr; }

}  // namespace

const char *qn::RootDirectory() { return root_directory; }

void qn::TellWritten(const char *name) {
  // An application that installed no callback is not told.
  if (tell_written != nullptr) tell_written(name, QNFS_CARD_SYN_WRITE);
}

char *fnQNFS_SetFullPath(const char *path) {
  fnQN_MEMSET(root_directory, 0, sizeof root_directory);
  if (fnQN_STRLEN(path) < sizeof root_directory) fnQN_STRCPY(root_directory, path);
  return root_directory;
}

void fnQNFS_SetCardSynFileFunc(QNFSCardSynFile callback) { tell_written = callback; }

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
  // The cell comes from malloc() in every port.
  std::free(handle);
}
