// Where the body goes: qnget's own copy of standard output, a file that
// appears only when it is complete, or a device or pipe that is written as it
// is. The library's trace takes the place of standard output.
#ifndef QNGET_OUTPUT_H
#define QNGET_OUTPUT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qnget {

/**
 * Makes a copy of standard output for the body; -1 if it was closed.
 * Descriptors 0 to 2 are open afterwards, so that neither a file nor a socket
 * takes their place.
 */
int KeepStandardOutput();

/** Points descriptor 1 at the trace file, or at nothing if `trace` is empty. */
void RedirectStandardOutput(const std::string &trace);

class Output {
 public:
  /**
   * Opens `file`, or takes `standard_output` if that is empty or another name
   * for it. Comes before RedirectStandardOutput(), which changes what such
   * names mean.
   */
  Output(const std::string &file, int standard_output);

  /** Removes what has been written to a file and not committed. */
  ~Output();

  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  /** From now on the bytes are a text, to be written as UTF-8 once it is complete. */
  void DecodeFrom(uint32_t charset) { charset_ = charset; }

  void Write(std::string_view bytes);

  /** Makes the file appear under its name, with everything on the medium. */
  void Commit();

  bool IsTerminal() const;

 private:
  void WriteOut(std::string_view bytes);
  void OpenDirectly(const std::string &file);
  void OpenBeside(const std::string &file);
  void WaitForRoom() const;
  [[noreturn]] void Fail(const std::string &what) const;

  std::string name_;       // for messages
  std::string target_;     // the file that the temporary one becomes; empty: none
  std::string temporary_;  // empty once it has gone
  int descriptor_ = -1;
  std::optional<uint32_t> charset_;
  std::string text_;  // to be decoded
};

}  // namespace qnget

#endif
