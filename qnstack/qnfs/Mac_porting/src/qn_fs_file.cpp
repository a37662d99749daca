// SPDX-License-Identifier: MIT
// The inert file port: every operation on whole files touches no file and
// returns a fixed result, so that its callers take their failure paths.
#include "qnstack/qn_fs_file.h"

#include "qn_fs_file_port.h"
#include "qnstack/qn_share_string.h"

int32_t fnQNFS_isFileExisted(const char * /*name*/) { return 0; }

int32_t fnQNFS_MkDir(const char * /*path*/) { return 0; }

QNFSFile fnQNFS_File_Open(const char * /*name*/, const char * /*mode*/) { return nullptr; }

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
  qn::TellWritten(name);
  return -1;
}

int32_t fnQNFS_AppendToFile(const void *data, int32_t /*length*/, const char *name) {
  if (data == nullptr || name == nullptr) qn::TellWritten(name);
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
