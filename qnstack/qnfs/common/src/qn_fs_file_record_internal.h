// SPDX-License-Identifier: MIT
// What the cache needs of record files besides their exported functions.
#ifndef QNSTACK_QN_FS_FILE_RECORD_INTERNAL_H
#define QNSTACK_QN_FS_FILE_RECORD_INTERNAL_H

#include "qnstack/qn_fs_file_record.h"

namespace qn {

// fnQNFS_Load_File_To_List(), which tells whether all that is in the file has
// come into the list. A file that is not there has nothing in it.
bool LoadFileToList(const char *name, QNList *list, QNFSRecordRead read);

}  // namespace qn

#endif
