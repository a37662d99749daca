// SPDX-License-Identifier: MIT
// Where the body goes: qnget's own copy of standard output, a file that
// appears only when it is complete, or a device or pipe that is written as it
// is. The library's trace takes the place of standard output.
#ifndef QNGET_OUTPUT_H
#define QNGET_OUTPUT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "target_file.h"

namespace qnget {

/**
 * Makes a copy of standard output for the body; -1 if it was closed.
 * Descriptors 0 to 2 are open afterwards, so that neither a file nor a socket
 * takes their place.
 */
int KeepStandardOutput();

/** Points descriptor 1 at the trace file, "-" for standard error, or at nothing if it is empty. */
void RedirectStandardOutput(const std::string &trace);

class Output {
 public:
  /**
   * Opens `file`, or takes `standard_output` if that is empty or another name
   * for it. Comes before RedirectStandardOutput(), which changes what such
   * names mean.
   */
  Output(const std::string &file, int standard_output);
  ~Output();

  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  /** Throws Failure if this is a standard output that was closed when qnget began. */
  void RequireOpen() const;

  /** From now on the bytes are a text, to be written as UTF-8 once it is complete. */
  void DecodeFrom(uint32_t charset) { charset_ = charset; }

  /** Throws Failure, also for binary bytes on a terminal that no option names. */
  void Write(std::string_view bytes);

  /** Makes the file appear under its name, with everything on the medium. */
  void Commit();

  bool IsTerminal() const;

 private:
  int Descriptor() const { return file_ ? file_->descriptor() : descriptor_; }
  void Collect(std::string_view bytes);
  void RefuseBinary(std::string_view bytes);
  void WriteOut(std::string_view bytes);
  void WaitForRoom() const;

  std::string name_;  // for messages
  std::optional<TargetFile> file_;
  int descriptor_ = -1;  // of anything else
  size_t unseen_ = 0;    // so many bytes more are looked at before a terminal gets them
  std::optional<uint32_t> charset_;
  std::string text_;  // to be decoded
};

}  // namespace qnget

#endif
