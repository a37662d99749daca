// SPDX-License-Identifier: MIT
// Writes files with the library in a folder, or reads those of another machine
// there and tells what of them is not as it was written.
// usage: crossing write|read FOLDER
#include "crossing.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string_view>

#include "qnstack/qn_fs_file.h"

namespace {

struct Part {
  const char *name;
  bool (*write)();
  bool (*read)();
};

constexpr Part kParts[] = {
    {"records", crossing::WriteRecords, crossing::ReadRecords},
    {"settings", crossing::WriteSettings, crossing::ReadSettings},
    {"cache", crossing::WriteCache, crossing::ReadCache},
};

struct Result {
  const char *name;
  std::string (*bytes)();
};

constexpr Result kResults[] = {
    {"texts", crossing::ConvertedTexts},
    {"numbers", crossing::WrittenNumbers},
};

bool WriteFile(const std::string &path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(file.flush());
}

bool IsFile(const std::string &path, std::string_view bytes) {
  std::ifstream file(path, std::ios::binary);
  return std::string{std::istreambuf_iterator<char>(file), {}} == bytes;
}

// Says what failed; returns the number of failures.
int Fail(const char *verb, const char *name) {
  std::fprintf(stderr, "crossing: cannot %s %s\n", verb, name);
  return 1;
}

int WriteAll(const std::string &folder) {
  int failed = 0;
  for (const Part &part : kParts) failed += part.write() ? 0 : Fail("write", part.name);
  for (const Result &result : kResults) {
    failed +=
        WriteFile(folder + "/" + result.name, result.bytes()) ? 0 : Fail("write", result.name);
  }
  return failed;
}

int ReadAll(const std::string &folder) {
  int failed = 0;
  for (const Part &part : kParts) failed += part.read() ? 0 : Fail("read", part.name);
  for (const Result &result : kResults) {
    failed += IsFile(folder + "/" + result.name, result.bytes()) ? 0 : Fail("repeat", result.name);
  }
  return failed;
}

}  // namespace

int main(int argc, char **argv) {
  const std::string_view verb = argc == 3 ? argv[1] : "";
  if (verb != "write" && verb != "read") {
    std::fputs("usage: crossing write|read FOLDER\n", stderr);
    return 2;
  }
  fnQNFS_SetFullPath(argv[2]);
  return (verb == "write" ? WriteAll(argv[2]) : ReadAll(argv[2])) == 0 ? 0 : 1;
}
