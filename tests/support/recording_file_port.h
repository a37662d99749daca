// SPDX-License-Identifier: MIT
// A file port for tests: the file primitives on files in memory, as their
// header's contract says. It writes down every call with its arguments, and any
// call can be made to fail, at once and for good, or half done.
//
//   FilePort().Reset();
//   FilePort().files().Write("/a", "old");
//   FilePort().Fail("MoveFile");
//   ... the code under test ...
//   EXPECT_THAT(FilePort().Calls(), ElementsAre("DeleteFile(/a.bak)", "MoveFile(/a.bak, /a)"));
#ifndef QNSTACK_TESTS_SUPPORT_RECORDING_FILE_PORT_H
#define QNSTACK_TESTS_SUPPORT_RECORDING_FILE_PORT_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qnstack/qn_fs_file.h"
#include "support/memory_files.h"

namespace qntest {

// One call of a primitive.
struct FileCall {
  std::string function;   // without the common prefix, as in "MoveFile"
  std::string arguments;  // "/a.bak, /a"; data shows as its length, a null pointer as NULL
  std::string data;       // the bytes that a writing call was given

  std::string Text() const { return function + "(" + arguments + ")"; }
};

// How a call is to end.
struct FileOutcome {
  bool fails = false;
  size_t kept = 0;  // bytes that a failing write leaves behind when it is torn
  bool torn = false;
  std::optional<int32_t> answer = {};  // given at once, with nothing done
  std::optional<int32_t> count = {};   // reported in place of the right one
};

class RecordingFilePort {
 public:
  // As at load time: no files, no root, no callback, no calls, no failures.
  void Reset();

  MemoryFiles &files() { return files_; }

  // Every call since Reset() or ClearCalls(), in order.
  std::vector<std::string> Calls() const;
  const std::vector<FileCall> &Log() const { return log_; }
  int CountOf(std::string_view function) const;
  void ClearCalls() { log_.clear(); }

  // The nth following call of that primitive fails with nothing done.
  void Fail(std::string_view function, int nth = 1);

  // From the nth following call of any primitive on, all fail with nothing
  // done, as if the medium were gone.
  void FailFrom(int nth);

  // The nth following call of that writing primitive fails after `kept` of its
  // bytes have reached the file: WriteToFile and CopyFile leave them as the
  // whole content, AppendToFile behind the old one.
  void Tear(std::string_view function, size_t kept, int nth = 1);

  // The nth following call of that primitive does nothing and gives `result`.
  // For isFileExisted, getFileSize, ReadFromFile, WriteToFile and AppendToFile.
  void Answer(std::string_view function, int32_t result, int nth = 1);

  // The nth following call of that primitive does its work and stores `count` as
  // the number of bytes. For ReadFromFile.
  void Report(std::string_view function, int32_t count, int nth = 1);

  // The following calls succeed again.
  void ClearFailures() { failures_.clear(); }

  const char *Root() const { return root_; }

  // What the primitives themselves use.
  FileOutcome Enter(std::string_view function, std::initializer_list<std::string> arguments,
                    std::string_view data = {});
  char *SetRoot(const char *path);
  void SetCallback(QNFSCardSynFile callback) { callback_ = callback; }
  void TellWritten(const char *name) const;

 private:
  struct Failure {
    std::string function;  // empty for any
    int calls_left;        // it strikes when this reaches 0
    bool stays;
    FileOutcome outcome;
  };

  FileOutcome NextOutcome(std::string_view function);

  MemoryFiles files_;
  std::vector<FileCall> log_;
  std::vector<Failure> failures_;
  char root_[QNFS_PATH_BYTES] = {};
  QNFSCardSynFile callback_ = nullptr;
};

// The port that the primitives of the test program work on.
RecordingFilePort &FilePort();

}  // namespace qntest

#endif
