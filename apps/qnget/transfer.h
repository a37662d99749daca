// One exchange with the library: a context from its opening to the last byte
// of its body, with the checks that the library leaves to its callers.
#ifndef QNGET_TRANSFER_H
#define QNGET_TRANSFER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "answer_record.h"
#include "hop.h"
#include "options.h"
#include "output.h"
#include "progress.h"
#include "qnstack/qnstack.h"

namespace qnget {

/** The library, started with the options' proxy and headers, closed at the end. */
class Stack {
 public:
  explicit Stack(const Options &options);
  ~Stack();

  Stack(const Stack &) = delete;
  Stack &operator=(const Stack &) = delete;
};

class Transfer {
 public:
  /**
   * Opens a context. What comes goes into `record` too, unless that is null; all
   * three must live as long as this.
   */
  Transfer(const Options &options, const std::string &body, AnswerRecord *record);

  /**
   * Delivers the answer's body, or the raw answer. Throws Failure, also where
   * the library takes a connection that broke for the end of the answer.
   *
   * Gives the answer's status, 0 for a raw answer.
   */
  int Run(Output &output, Progress &progress);

 private:
  using ReadFunction = int32_t (*)(QNHttpCtx *, void *, int32_t);

  struct Release {
    void operator()(QNHttpCtx *ctx) const { fnQNStack_Http_FreeCtx(ctx); }
  };

  void ReadHead();
  void ReadHeaderLines();
  void ReceiveAhead();
  void RecordHead();
  void StepTo(int32_t result);
  void NoteRedirect();
  void RefuseUnusableRedirect() const;
  bool StepOverInterimAnswer();
  void CheckHead() const;
  void PrintInfo() const;
  void ReadBody(Output &output, Progress &progress);
  void ReadRaw(Output &output, Progress &progress);
  void RecordEnd();
  void Deliver(ReadFunction read, Output &output, Progress &progress);
  void CheckTime() const;
  [[noreturn]] void Fail() const;
  [[noreturn]] void FailReceiving(const std::string &message) const;

  const Options &options_;
  AnswerRecord *record_;
  std::string head_;  // of the answer under way, as far as it has been taken
  Hop hop_;
  std::unique_ptr<QNHttpCtx, Release> ctx_;
  std::string url_;  // the one asked for last
  int32_t redirects_ = 0;
  bool status_came_ = false;
  int64_t received_ = 0;
  std::vector<char> chunk_;
};

}  // namespace qnget

#endif
