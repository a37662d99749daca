// SPDX-License-Identifier: MIT
// Running another program and keeping what it says, in a scratch folder that is
// gone when the demo ends.
#ifndef DEMO_RUN_PROGRAM_H
#define DEMO_RUN_PROGRAM_H

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace demo {

class ScratchFolder {
 public:
  // Throws std::runtime_error when it cannot be made.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder &) = delete;
  ScratchFolder &operator=(const ScratchFolder &) = delete;

  const std::filesystem::path &path() const { return path_; }

  void Write(const std::string &name, std::string_view bytes) const;
  // A file's bytes; empty where there is none.
  std::string Read(const std::string &name) const;

 private:
  std::filesystem::path path_;
};

struct Outcome {
  int exit_code = -1;  // -1 when a signal ended the program
  std::string output;
  std::string messages;  // its standard error
};

// Runs `program` in `folder` and waits for its end. Throws std::runtime_error
// when it cannot be started or does not end within 15 seconds.
Outcome RunProgram(const ScratchFolder &folder, const std::string &program,
                   const std::vector<std::string> &arguments);

}  // namespace demo

#endif
