// SPDX-License-Identifier: MIT
// qnget under strace, which shows its system calls to a test and lets some fail.
#ifndef QNSTACK_TESTS_INTEGRATION_QNGET_TRACED_H
#define QNSTACK_TESTS_INTEGRATION_QNGET_TRACED_H

#include <string>
#include <vector>

#include "support/process.h"

namespace qntest {

// Why system calls cannot be traced here; empty if they can.
std::string ProblemOfTracing();

// The program as a command for Process, under strace with these options of its own.
std::vector<std::string> TracedCommand(const std::vector<std::string> &strace_options,
                                       const std::vector<std::string> &arguments);

// The leak checker wants to trace the program itself.
inline const std::vector<std::string> kTracedEnvironment{"ASAN_OPTIONS=detect_leaks=0"};

// Runs it to its end.
ProcessResult RunTraced(const std::vector<std::string> &strace_options,
                        const std::vector<std::string> &arguments);

// Options of strace that make a folder's medium know no unnamed files.
std::vector<std::string> NoUnnamedFilesIn(const std::string &folder);

}  // namespace qntest

#endif
