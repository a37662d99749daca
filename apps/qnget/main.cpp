// SPDX-License-Identifier: MIT
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
#include "retry.h"
#include "signals.h"
#include "transfer.h"

namespace qnget {
namespace {

// The cookies of a try are there in the next.
int Fetch(const Options &options, const std::string &body, Output &output, AnswerRecord *record) {
  const Stack stack;
  const bool shown = isatty(STDERR_FILENO) == 1 && !output.IsTerminal() && !options.silent;
  Retries retries(options);
  for (;;) {
    std::string why;
    std::optional<double> pause;
    try {
      Progress progress(shown);
      const Outcome outcome = Transfer(options, body, record, retries).Run(output, progress);
      if (!outcome.try_again) return outcome.status;
      why = ErrorStatus(outcome.status).what();
      pause = outcome.try_again;
    } catch (const Failure &failure) {
      pause = retries.PauseAfter(failure);
      if (!pause) throw;
      why = failure.what();
    }
    retries.Wait(why, *pause);
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
