// SPDX-License-Identifier: MIT
#include "qnget_traced.h"

#include "qnget_program.h"

namespace qntest {

std::string ProblemOfTracing() {
  static const ProcessResult result = RunProgram({"strace", "-o", "/dev/null", "true"});
  return result.exit_code == 0 ? "" : "system calls cannot be traced here: " + result.error;
}

std::vector<std::string> TracedCommand(const std::vector<std::string> &strace_options,
                                       const std::vector<std::string> &arguments) {
  std::vector<std::string> command{"strace", "-f"};
  command.insert(command.end(), strace_options.begin(), strace_options.end());
  const std::vector<std::string> program = QngetCommand(arguments);
  command.insert(command.end(), program.begin(), program.end());
  return command;
}

ProcessResult RunTraced(const std::vector<std::string> &strace_options,
                        const std::vector<std::string> &arguments) {
  return RunProgram(TracedCommand(strace_options, arguments), {.environment = kTracedEnvironment});
}

// Of all files that are opened only an unnamed one goes by the folder's path.
std::vector<std::string> NoUnnamedFilesIn(const std::string &folder) {
  return {"-o", "/dev/null",    "-P", folder,
          "-e", "trace=openat", "-e", "inject=openat:error=EOPNOTSUPP"};
}

}  // namespace qntest
