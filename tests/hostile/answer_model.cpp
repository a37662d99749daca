// SPDX-License-Identifier: MIT
#include "answer_model.h"

#include <strings.h>

#include <sstream>

namespace qntest {
namespace {

bool BeginsWith(const std::string &line, const std::string &name) {
  return strncasecmp(line.c_str(), name.c_str(), name.size()) == 0;
}

std::int32_t StatusOf(const std::string &line) {
  std::istringstream words(line);
  std::string version;
  std::int32_t status = 0;
  words >> version >> status;
  return status;
}

std::string SecondWord(const std::string &line) {
  std::istringstream words(line);
  std::string first;
  std::string second;
  words >> first >> second;
  return second;
}

}  // namespace

ModelAnswer ModelOf(const std::string &received) {
  ModelAnswer answer;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = received.find("\r\n", begin);
    // A zero byte hides every line end behind it.
    if (end == std::string::npos || received.find('\0', begin) < end) break;
    const std::string line = received.substr(begin, end - begin);
    begin = end + 2;
    if (line.empty()) break;
    if (BeginsWith(line, "HTTP/")) answer.status = StatusOf(line);
    if (BeginsWith(line, "Location:")) answer.location = SecondWord(line);
  }
  answer.body = received.substr(begin);
  return answer;
}

}  // namespace qntest
