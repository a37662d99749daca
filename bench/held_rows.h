// SPDX-License-Identifier: MIT
// The operations that need not be as quick as their best peer, and what holds
// each of them: a promise of the interface, or a library call that it stands for.
#ifndef BENCH_HELD_ROWS_H
#define BENCH_HELD_ROWS_H

#include <string>
#include <vector>

namespace qnbench {

// What holds the row "group/operation"; null where nothing is named.
const char *WhatHolds(const std::string &row);

// Ends the program when a name in the table is none of these rows.
void CheckHeldRows(const std::vector<std::string> &rows);

}  // namespace qnbench

#endif
