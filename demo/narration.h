// SPDX-License-Identifier: MIT
// What the demo says: its steps in plain words, the bytes of the network, and
// the outcome of each check.
#ifndef DEMO_NARRATION_H
#define DEMO_NARRATION_H

#include <string>
#include <string_view>
#include <vector>

namespace demo {

void Say(const std::string &line);

// Shows a command as one would type it.
void ShowCommand(const std::string &program, const std::vector<std::string> &words);

// Shows an HTTP message line by line, each behind `mark`; a body that is not
// plain text as short hex.
void ShowMessage(std::string_view message, const std::string &mark);

// Says that `what` holds, or throws std::runtime_error with it.
void Check(bool holds, const std::string &what);

}  // namespace demo

#endif
