// SPDX-License-Identifier: MIT
// What the tests of qnget share: running the program, and writing down URLs
// and answers.
#ifndef QNSTACK_TESTS_INTEGRATION_QNGET_PROGRAM_H
#define QNSTACK_TESTS_INTEGRATION_QNGET_PROGRAM_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/process.h"
#include "support/scratch_folder.h"

namespace qntest {

// The program with these arguments, as a command for Process.
std::vector<std::string> QngetCommand(const std::vector<std::string> &arguments);

// The same with a resolver that answers after two minutes.
std::vector<std::string> SlowResolverCommand(const std::vector<std::string> &arguments);

// The same with a resolver that knows no name, and why by the name.
std::vector<std::string> FailingResolverCommand(const std::vector<std::string> &arguments);

// The same on a system that refuses all file calls of the name that
// QNSTACK_REFUSED_CALL has, with the error number in QNSTACK_REFUSED_ERROR and
// after QNSTACK_REFUSED_AFTER of them that go through.
std::vector<std::string> RefusedCallCommand(const std::vector<std::string> &arguments);

// Runs the program to its end.
ProcessResult RunQnget(const std::vector<std::string> &arguments,
                       const ProcessOptions &options = {});

// A device that is always full: one made in the folder where that is allowed, so
// that a program which replaces it does no harm, else the system's.
std::string FullDevice(const ScratchFolder &folder);

// "127.0.0.1:PORT".
std::string Loopback(uint16_t port);

// "http://127.0.0.1:PORT" and the path.
std::string LocalUrl(uint16_t port, std::string_view path = "/");

// A line of the program on standard error.
std::string Message(std::string_view text);

// An answer with a status line, a Content-Length line and perhaps more lines,
// each of which ends with CR LF.
std::string Answer(std::string_view body, std::string_view lines = {},
                   std::string_view status = "200 OK");

// An answer that sends the asker to another URL.
std::string RedirectTo(std::string_view url, std::string_view status = "302 Found");

// Bytes without a pattern, the same in each run.
std::string ScatteredBytes(std::size_t count);

}  // namespace qntest

#endif
