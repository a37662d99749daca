// SPDX-License-Identifier: MIT
// What the tests of qnget share: running the program, and writing down URLs
// and answers.
#ifndef QNSTACK_TESTS_INTEGRATION_QNGET_PROGRAM_H
#define QNSTACK_TESTS_INTEGRATION_QNGET_PROGRAM_H

#include <gmock/gmock.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {

using Words = std::vector<std::string>;

Words Joined(Words words, const Words &more);

// The program with these arguments, as a command for Process.
Words QngetCommand(const Words &arguments);

// The same with a resolver that answers after two minutes.
Words SlowResolverCommand(const Words &arguments);

// The same with a resolver that knows no name, and why by the name.
Words FailingResolverCommand(const Words &arguments);

// The same on a system that refuses all file calls of the name that
// QNSTACK_REFUSED_CALL has, with the error number in QNSTACK_REFUSED_ERROR and
// after QNSTACK_REFUSED_AFTER of them that go through.
Words RefusedCallCommand(const Words &arguments);

// Runs the program to its end.
ProcessResult RunQnget(const Words &arguments, const ProcessOptions &options = {});

// A command in a shell line that has it as "$@".
Words InShell(const std::string &line, const Words &command);

// What a call came to, and the requests that the server received.
struct Exchange : ProcessResult {
  std::vector<std::string> requests;
};

// In the arguments and the environment of RunOn(), and in what it returns,
// "HOST:PORT" stands for the address of the server.
inline const std::string kUrl = "http://HOST:PORT/";

// The first line of an answer, and an answer that another one follows.
inline const std::string kOk = "HTTP/1.0 200 OK\r\n";
inline const std::string kInterim = "HTTP/1.1 100 Continue\r\n\r\n";

// Runs the program to its end while a server does so, one script a connection. The
// server ends nothing by itself before the program would be killed.
Exchange RunOn(const std::vector<ConnectionScript> &scripts, const Words &arguments = {kUrl},
               ProcessOptions options = {});

// The same with a server that gives this one answer.
Exchange RunOnAnswer(const std::string &answer, const Words &arguments = {kUrl},
                     const ProcessOptions &options = {});

// The request of a call that succeeds.
std::string RequestOf(const Words &arguments, const ProcessOptions &options = {});

// A call on a server, as a row of a table.
struct Call {
  const char *name;
  ConnectionScript script;
  Words arguments;
  std::string output;
  std::string error = {};
  int exit_code = 0;
};

// Makes each call and looks at all that comes of it.
void ExpectEach(const std::vector<Call> &calls);

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const ProcessResult &result);

// A device that is always full: one made in the folder where that is allowed, so
// that a program which replaces it does no harm, else the system's.
std::string FullDevice(const ScratchFolder &folder);

// "127.0.0.1:PORT".
std::string Loopback(uint16_t port);

// "http://127.0.0.1:PORT" and the path.
std::string LocalUrl(uint16_t port, std::string_view path = "/");

// A line of the program on standard error.
std::string Message(std::string_view text);

// The result of a call that ends with that exit code and says why.
inline auto FailsWith(int exit_code, const std::string &why) {
  return testing::AllOf(testing::Field(&ProcessResult::exit_code, exit_code),
                        testing::Field(&ProcessResult::error, Message(why)));
}

// The result of a call that succeeds, writes this and says nothing.
inline auto Delivers(const std::string &output) {
  return testing::AllOf(testing::Field(&ProcessResult::exit_code, 0),
                        testing::Field(&ProcessResult::output, output),
                        testing::Field(&ProcessResult::error, ""));
}

// An answer with a status line, a Content-Length line and perhaps more lines,
// each of which ends with CR LF.
std::string Answer(std::string_view body, std::string_view lines = {},
                   std::string_view status = "200 OK");

// An answer that sends the asker to another URL.
std::string RedirectTo(std::string_view url, std::string_view status = "302 Found");

// Enough of a body that the library hands some of it out, and a rest that waits.
ConnectionScript HalfABody();
inline const std::string kHalfABody(30000, 'x');
inline const std::string kRest = "the rest";

// The text with each `from` replaced.
std::string Replaced(std::string text, const std::string &from, const std::string &to);

// Bytes without a pattern, the same in each run.
std::string ScatteredBytes(std::size_t count);

}  // namespace qntest

#endif
