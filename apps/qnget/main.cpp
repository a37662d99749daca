// qnget: fetches or sends one message, or looks after what it keeps, and ends
// with a code that says how it went. Here is the order of things and the retrying.
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "cache_use.h"
#include "config.h"
#include "failure.h"
#include "input.h"
#include "options.h"
#include "output.h"
#include "progress.h"
#include "signals.h"
#include "transfer.h"

namespace qnget {
namespace {

void SayRetry(const Failure &failure, int retry, const Options &options, double pause) {
  char when[64];
  snprintf(when, sizeof when, "; retry %d of %d in %g s", retry, options.retries, pause);
  Say(failure.what() + std::string(when));
}

// Each try has a context of its own, freed before the next is opened.
int Fetch(const Options &options, const std::string &body, Output &output, AnswerRecord *record) {
  const Stack stack(options);
  const bool shown = isatty(STDERR_FILENO) == 1 && !output.IsTerminal() && !options.silent;
  double pause = options.retry_delay;
  for (int retry = 1;; ++retry, pause *= 2) {
    try {
      Progress progress(shown);
      return Transfer(options, body, record).Run(output, progress);
    } catch (const Failure &failure) {
      if (!failure.retryable() || retry > options.retries) throw;
      SayRetry(failure, retry, options, pause);
    }
    PauseFor(pause, "waiting to try again");
  }
}

void RunTransfer(const Options &options, const std::string &body, Output &output) {
  if (options.method != "HEAD") output.RequireOpen();
  if (options.charset) output.DecodeFrom(*options.charset);
  CacheUse cache(options);
  const std::optional<int> cached = cache.Deliver(output);
  const int status = cached ? *cached : Fetch(options, body, output, cache.Record());
  StopDeadline();
  output.Commit();
  if (!cached) cache.Keep();
  if (status >= kFirstErrorStatus) throw ErrorStatus(status);
}

void Run(const Options &options) {
  const int standard_output = KeepStandardOutput();
  InstallSignalHandlers();
  if (options.timeout > 0) StartDeadline(options.timeout);
  const std::string body = options.data ? ReadRequestBody(*options.data) : "";
  Output output(options.output, standard_output);
  RedirectStandardOutput(options.trace);
  if (options.task == Task::kTransfer) {
    RunTransfer(options, body, output);
  } else {
    output.Write(LookAfterStore(options));
    output.Commit();
  }
}

}  // namespace
}  // namespace qnget

int main(int argc, char **argv) {
  try {
    if (const auto options = qnget::ParseOptions(argc, argv)) qnget::Run(*options);
    return qnget::kSuccess;
  } catch (const qnget::Failure &failure) {
    qnget::Say(failure.what());
    return failure.code();
  } catch (const std::exception &problem) {
    qnget::Say(problem.what());
    return qnget::kNotReceived;
  }
}
