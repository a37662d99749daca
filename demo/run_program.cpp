// SPDX-License-Identifier: MIT
#include "run_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace demo {
namespace {

constexpr int kPatienceMilliseconds = 15000;
constexpr char kOutputFile[] = "standard-output";
constexpr char kMessagesFile[] = "standard-error";

// What a new process starts with: the folder, no input, and both outputs kept.
class SpawnActions {
 public:
  explicit SpawnActions(const std::filesystem::path &folder) {
    constexpr int kFresh = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str());
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, kOutputFile, kFresh, 0600);
    posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, kMessagesFile, kFresh, 0600);
  }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions &) = delete;
  SpawnActions &operator=(const SpawnActions &) = delete;

  const posix_spawn_file_actions_t *get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

pid_t Start(const ScratchFolder &folder, const std::string &program,
            const std::vector<std::string> &arguments) {
  std::vector<char *> words{const_cast<char *>(program.c_str())};
  for (const std::string &argument : arguments)
    words.push_back(const_cast<char *>(argument.c_str()));
  words.push_back(nullptr);

  pid_t process = -1;
  const SpawnActions actions(folder.path());
  if (posix_spawn(&process, program.c_str(), actions.get(), nullptr, words.data(), environ) != 0) {
    throw std::runtime_error(program + " cannot be started");
  }
  return process;
}

bool EndsInTime(pid_t process) {
  // The header that declares pidfd_open misses the C linkage in some releases.
  pollfd end = {static_cast<int>(syscall(SYS_pidfd_open, process, 0)), POLLIN, 0};
  const bool ended = poll(&end, 1, kPatienceMilliseconds) == 1;
  close(end.fd);
  return ended;
}

}  // namespace

ScratchFolder::ScratchFolder() {
  std::string name = std::filesystem::temp_directory_path() / "mms-demo-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder can be made");
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void ScratchFolder::Write(const std::string &name, std::string_view bytes) const {
  std::ofstream file(path_ / name, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("the temporary folder cannot be written");
}

std::string ScratchFolder::Read(const std::string &name) const {
  std::ifstream file(path_ / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Outcome RunProgram(const ScratchFolder &folder, const std::string &program,
                   const std::vector<std::string> &arguments) {
  const pid_t process = Start(folder, program, arguments);
  const bool in_time = EndsInTime(process);
  if (!in_time) kill(process, SIGKILL);

  int status = 0;
  waitpid(process, &status, 0);
  if (!in_time) throw std::runtime_error(program + " does not come to an end");
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.Read(kOutputFile),
          folder.Read(kMessagesFile)};
}

}  // namespace demo
