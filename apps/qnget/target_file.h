// SPDX-License-Identifier: MIT
// A regular file that -o names: it appears under its name only when it is whole,
// and until then whatever has that name stays as it is.
#ifndef QNGET_TARGET_FILE_H
#define QNGET_TARGET_FILE_H

#include <sys/stat.h>

#include <optional>
#include <string>

#include "failure.h"

namespace qnget {

/** What to throw where `name` could not be written (opened, created), with the reason in errno. */
Failure WriteFailure(const std::string &what, const std::string &name);

class TargetFile {
 public:
  /**
   * Opens a file without a name in the target's folder, or one of a passing name
   * where that cannot be had. Throws Failure, also for a target that is there and
   * may not be written.
   */
  explicit TargetFile(const std::string &file);

  /** Nothing is left of a file that has not been committed. */
  ~TargetFile();

  TargetFile(const TargetFile &) = delete;
  TargetFile &operator=(const TargetFile &) = delete;

  int descriptor() const { return descriptor_; }

  /**
   * Puts everything on the medium and the file in its place, with the mode and,
   * where that is allowed, the owner of the one that it replaces.
   */
  void Commit();

 private:
  void NoteReplaced();
  bool OpenUnnamed();
  void OpenNamed();
  void TakeOverOwnerAndMode() const;
  void PutInPlace();
  bool LinkTo(const std::string &path) const;
  void LinkBeside();
  void SyncFolder() const;

  std::string name_;                     // for messages
  std::string target_;                   // behind symbolic links
  std::string folder_;                   // of the target
  std::string temporary_;                // the passing name; empty for none
  std::optional<struct stat> replaced_;  // what was there at the beginning
  int descriptor_ = -1;
};

}  // namespace qnget

#endif
