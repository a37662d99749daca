// SPDX-License-Identifier: MIT
// Formatted text into a bounded area, for the memory buffer, the HTTP dates and
// applications. APR's formatter does the work.
#include "qnstack/qn_snprintf.h"

#include <apr_lib.h>

namespace {

// APR calls this at the end of the area: -1 ends the formatting there.
int RefuseToFlush(apr_vformatter_buff_t * /*area*/) { return -1; }

}  // namespace

int32_t fnQNRTL_vsnprintf(char *buf, uint32_t len, const char *format, va_list args) {
  if (format == nullptr || (buf == nullptr && len != 0)) return -1;
  // The last byte is kept for the terminator. Without an area APR only counts.
  apr_vformatter_buff_t area = {nullptr, nullptr};
  if (len != 0) area = {buf, buf + (len - 1)};
  const int produced = apr_vformatter(RefuseToFlush, &area, format, args);
  if (len != 0) *area.curpos = '\0';
  return produced == -1 ? static_cast<int32_t>(len) : produced;
}

int32_t fnQNRTL_snprintf(char *buf, uint32_t len, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const int32_t result = fnQNRTL_vsnprintf(buf, len, format, args);
  va_end(args);
  return result;
}
