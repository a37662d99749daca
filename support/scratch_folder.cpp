// SPDX-License-Identifier: MIT
// Made below a folder for temporary files, under a name that no one else has.
#include "support/scratch_folder.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace qntest {

namespace {

// The one that the caller names, or memory, which serves many small files faster.
std::filesystem::path Above() {
  constexpr char kMemory[] = "/dev/shm";
  if (getenv("TMPDIR") == nullptr && access(kMemory, W_OK) == 0) return kMemory;
  return std::filesystem::temp_directory_path();
}

}  // namespace

ScratchFolder::ScratchFolder() : path_((Above() / "qnstack-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary folder");
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::path(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

std::string ScratchFolder::write(std::string_view name, std::string_view content) const {
  std::ofstream file(path(name), std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path(name));
  return path(name);
}

std::string ScratchFolder::read(std::string_view name) const {
  std::ifstream file(path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> ScratchFolder::names() const {
  std::vector<std::string> found;
  for (const auto &entry : std::filesystem::directory_iterator(path_)) {
    found.push_back(entry.path().filename().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace qntest
