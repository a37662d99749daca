// Runs the registered operations row by row and prints them as Markdown.
#ifndef QNSTACK_BENCH_OPERATION_TABLE_H
#define QNSTACK_BENCH_OPERATION_TABLE_H

#include <string>

namespace qnbench {

// Runs every operation whose "group/operation" matches `filter` (a regular
// expression). The rounds of a row's contenders are interleaved, so that what
// disturbs the machine disturbs them alike.
void PrintOperations(const std::string &filter);

}  // namespace qnbench

#endif
