// SPDX-License-Identifier: MIT
// What the tests of the file services' tools reach besides their exported
// functions.
#ifndef QNSTACK_QN_FS_COMM_TOOLS_INTERNAL_H
#define QNSTACK_QN_FS_COMM_TOOLS_INTERNAL_H

#include <cstdint>

#include "qnstack/qn_fs_comm_tools.h"

namespace qn {

// One timer; the element of the timer list.
struct Timer {
  QNFSTimerFunction function;
  intptr_t argument;
  uint32_t id;
};

extern QNList *timer_list;  // null unless a port fills it
extern char *log_file;      // source path of the log text that comes next, or null
extern int32_t log_line;    // source line of that text

}  // namespace qn

#endif
