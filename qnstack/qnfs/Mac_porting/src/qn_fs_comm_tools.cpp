// SPDX-License-Identifier: MIT
// Small tools of the file services, for record files, the cache and
// applications: timers, which this port does not start, a callback, the log,
// percent-decoding and digits. It keeps the list of timers, and the source path
// and line of the log text that comes next.
#include "qnstack/qn_fs_comm_tools.h"

#include "qn_fs_comm_tools_internal.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

// The digit's value, or less than 0 for any other character.
constexpr int HexDigit(char digit) {
  if (digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

// Value of the two digits of an escape; -1 if one of them is no digit.
constexpr int EscapeValue(char high, char low) {
  const int first = HexDigit(high);
  const int second = HexDigit(low);
  return first < 0 || second < 0 ? -1 : 16 * first + second;
}

}  // namespace

QNList *qn::timer_list = nullptr;
char *qn::log_file = nullptr;
int32_t qn::log_line = 0;

int32_t fnQNFS_SetTimer(uint32_t /*id*/, uint32_t /*milliseconds*/, QNFSTimerFunction /*function*/,
                        intptr_t /*argument*/) {
  return 1;
}

void fnQNFS_CancelTimer(uint32_t /*id*/) {}

void fnQNFS_ReleaseTimerList(void) {}

intptr_t fnQNFS_TimerCallback(uint32_t id) {
  QNListNode *next = nullptr;
  for (QNListNode *node = fnQNList_BeginIter(qn::timer_list); node != nullptr; node = next) {
    next = node->next;
    const auto *timer = static_cast<const qn::Timer *>(node->data);
    if (timer == nullptr) {
      fnQNList_Remove(qn::timer_list, node);
    } else if (timer->id == id) {
      return timer->function != nullptr ? timer->function(timer->argument) : 0;
    }
  }
  return 0;
}

intptr_t fnQNFS_CallBackOper(const QNFSCallBack *record, intptr_t a1, intptr_t a2, intptr_t a3,
                             intptr_t a4, intptr_t a5, intptr_t a6, intptr_t a7) {
  if (record == nullptr || record->function == nullptr) return 0;
  return record->function(record->context, a1, a2, a3, a4, a5, a6, a7);
}

void fnQNFS_printLog_param(const char *path, int32_t line) {
  const char *name = fnQN_STRRCHR(path, '\\');
  char *copy = fnQN_STRDUP(name != nullptr ? name : path);
  fnQN_Free(&qn::log_file);
  qn::log_file = copy;
  qn::log_line = line;
}

void fnQNFS_printLog(const char * /*format*/, ...) {}

int32_t fnQNFS_URL_ZM(char *s) {
  if (s == nullptr) return -1;
  char *out = s;
  for (const char *in = s; *in != '\0'; ++in) {
    const bool escape = in[0] == '%' && in[1] != '\0' && in[2] != '\0';
    const int value = escape ? EscapeValue(in[1], in[2]) : 0;
    if (value == 0) {
      *out++ = *in;
    } else {
      *out++ = static_cast<char>(value);
      in += 2;
    }
  }
  *out = '\0';
  return 0;
}

int32_t fnQNFS_StrToLong(const char *s) {
  uint32_t sum = 0;
  for (; s != nullptr && *s != '\0'; ++s) {
    sum = sum * 10 + static_cast<uint32_t>(static_cast<signed char>(*s) - '0');
  }
  return static_cast<int32_t>(sum);
}

void fnQNFS_getPseudoRandom(void *buf, uint32_t n) { GETRAND(buf, n); }

int32_t fnQNFS_List_getPos(const QNList *list, const void *data) {
  int32_t position = 0;
  for (const QNListNode *node = fnQNList_BeginIter(list); node != nullptr; node = node->next) {
    if (node->data == data) return position;
    ++position;
  }
  return -1;
}

int32_t fnQNFS_List_MoveToHead(QNList *list, void *data) {
  QNListNode *node = fnQNList_Find(list, data);
  if (node == nullptr) return -1;
  // The new node comes first: if the heap refuses it, the list is as before.
  if (fnQNList_AddFront(list, data) == nullptr) return -1;
  fnQNList_Remove(list, node);
  return 0;
}
