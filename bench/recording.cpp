// SPDX-License-Identifier: MIT
#include "recording.h"

#include <iostream>

#include "platform.h"

namespace bench {

Recording::Recording(const std::string &path) {
  if (path.empty()) return;
  file_.open(path);
  if (!file_) Fail("cannot write " + path);
  benchmark::AddCustomContext("processor", ProcessorName());
  reporter_.SetOutputStream(&file_);
  reporter_.SetErrorStream(&std::cerr);
  reporter_.ReportContext({});
}

Recording::~Recording() {
  if (file_.is_open()) reporter_.Finalize();
}

void Recording::Add(const Runs &runs) {
  if (file_.is_open()) reporter_.ReportRuns(runs);
}

}  // namespace bench
