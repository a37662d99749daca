// SPDX-License-Identifier: MIT
// The file primitives that the core calls, on the recording port. Each one notes
// its call first, then does what the contract says unless it is to fail.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "qnstack/qn_fs_file.h"
#include "support/recording_file_port.h"

namespace {

using namespace qntest;

std::string Shown(const char *text) { return text != nullptr ? text : "NULL"; }

std::string Shown(int32_t number) { return std::to_string(number); }

// A primitive's data argument: how much of it there is.
std::string Shown(const void *data, int32_t length) {
  return data != nullptr ? Shown(length) + " bytes" : "NULL";
}

// A name as the files know it; none for NULL, which no file has.
std::string_view Name(const char *name) { return name != nullptr ? name : std::string_view(); }

std::string_view Bytes(const void *data, int32_t length) {
  return data != nullptr && length > 0
             ? std::string_view(static_cast<const char *>(data), static_cast<size_t>(length))
             : std::string_view();
}

bool IsWritable(const void *data, int32_t length, const char *name) {
  return data != nullptr && length >= 0 && name != nullptr;
}

// The part of `bytes` that a call with this outcome brings to the file.
std::string_view Reaching(const FileOutcome &outcome, std::string_view bytes) {
  return outcome.fails ? bytes.substr(0, std::min(outcome.kept, bytes.size())) : bytes;
}

bool LeavesNothing(const FileOutcome &outcome) { return outcome.fails && !outcome.torn; }

// Writes a file by one of the ways that the application is told of.
int32_t WriteWhole(std::string_view function,
                   bool (MemoryFiles::*write)(std::string_view name, std::string_view bytes),
                   const void *data, int32_t length, const char *name) {
  const std::string_view bytes = Bytes(data, length);
  const FileOutcome outcome = FilePort().Enter(function, {Shown(data, length), Shown(name)}, bytes);
  if (outcome.answer) return *outcome.answer;
  if (LeavesNothing(outcome) || !IsWritable(data, length, name)) return -1;
  const bool done = (FilePort().files().*write)(name, Reaching(outcome, bytes));
  if (!done || outcome.fails) return -1;
  FilePort().TellWritten(name);
  return length;
}

}  // namespace

char *fnQNFS_SetFullPath(const char *path) {
  FilePort().Enter("SetFullPath", {Shown(path)});
  return FilePort().SetRoot(path);
}

void fnQNFS_SetCardSynFileFunc(QNFSCardSynFile callback) {
  FilePort().Enter("SetCardSynFileFunc", {callback != nullptr ? "callback" : "NULL"});
  FilePort().SetCallback(callback);
}

int32_t fnQNFS_isFileExisted(const char *name) {
  const FileOutcome outcome = FilePort().Enter("isFileExisted", {Shown(name)});
  if (outcome.answer) return *outcome.answer;
  return !outcome.fails && FilePort().files().Exists(Name(name)) ? 1 : 0;
}

int32_t fnQNFS_MkDir(const char *path) {
  const FileOutcome outcome = FilePort().Enter("MkDir", {Shown(path)});
  if (outcome.fails || path == nullptr) return 0;
  return FilePort().files().MakeDirectory(path) ? 1 : 0;
}

int32_t fnQNFS_getFileSize(const char *name) {
  const FileOutcome outcome = FilePort().Enter("getFileSize", {Shown(name)});
  if (outcome.answer) return *outcome.answer;
  const std::optional<std::string> content = FilePort().files().Content(Name(name));
  return outcome.fails || !content ? -1 : static_cast<int32_t>(content->size());
}

int32_t fnQNFS_CopyFile(const char *destination, const char *source) {
  const FileOutcome outcome = FilePort().Enter("CopyFile", {Shown(destination), Shown(source)});
  const std::optional<std::string> content = FilePort().files().Content(Name(source));
  if (LeavesNothing(outcome) || destination == nullptr || !content) return 0;
  const bool done = FilePort().files().Write(destination, Reaching(outcome, *content));
  return done && !outcome.fails ? 1 : 0;
}

int32_t fnQNFS_MoveFile(const char *destination, const char *source) {
  const FileOutcome outcome = FilePort().Enter("MoveFile", {Shown(destination), Shown(source)});
  return !outcome.fails && FilePort().files().Move(Name(destination), Name(source)) ? 1 : 0;
}

int32_t fnQNFS_DeleteFile(const char *name) {
  const FileOutcome outcome = FilePort().Enter("DeleteFile", {Shown(name)});
  return !outcome.fails && FilePort().files().Delete(Name(name)) ? 1 : 0;
}

int32_t fnQNFS_DelAllFiles(const char *path) {
  const FileOutcome outcome = FilePort().Enter("DelAllFiles", {Shown(path)});
  if (outcome.fails || path == nullptr) return 0;
  return FilePort().files().DeleteFilesIn(path) ? 1 : 0;
}

int32_t fnQNFS_ReadFromFile(const char *name, int32_t maximum, void *destination, int32_t *count) {
  const FileOutcome outcome = FilePort().Enter("ReadFromFile", {Shown(name), Shown(maximum)});
  if (outcome.answer) return *outcome.answer;
  const std::optional<std::string> content = FilePort().files().Content(Name(name));
  if (outcome.fails || !content || maximum < 0 || destination == nullptr || count == nullptr)
    return -1;
  const size_t taken =
      content->copy(static_cast<char *>(destination), static_cast<size_t>(maximum));
  *count = outcome.count.value_or(static_cast<int32_t>(taken));
  return 0;
}

int32_t fnQNFS_WriteToFile(const void *data, int32_t length, const char *name) {
  return WriteWhole("WriteToFile", &MemoryFiles::Write, data, length, name);
}

int32_t fnQNFS_AppendToFile(const void *data, int32_t length, const char *name) {
  return WriteWhole("AppendToFile", &MemoryFiles::Append, data, length, name);
}
