// SPDX-License-Identifier: MIT
// The names of months in HTTP dates, for the date parser and the cache.
#ifndef QNSTACK_QN_FS_HTTP_DATE_H
#define QNSTACK_QN_FS_HTTP_DATE_H

#include <cstdint>
#include <string_view>

namespace qn {

// 1 to 12 for "Jan" to "Dec", exactly so; -1 for any other word.
int32_t MonthNumber(std::string_view name);

}  // namespace qn

#endif
