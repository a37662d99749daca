// SPDX-License-Identifier: MIT
// Runs the registered operations row by row and prints them as Markdown.
#ifndef QNSTACK_BENCH_OPERATION_TABLE_H
#define QNSTACK_BENCH_OPERATION_TABLE_H

#include <string>

namespace qnbench {

// Runs every operation whose "group/operation" matches `filter` (a regular
// expression). The rounds of a row's contenders are interleaved, so that what
// disturbs the machine disturbs them alike. A row meets its goal at or ahead of
// the best peer, or where held_rows.cpp names what holds it. Each round is
// recorded in the file `json`, if it is named: the library's with the verdict as
// their label.
void PrintOperations(const std::string &filter, const std::string &json);

}  // namespace qnbench

#endif
