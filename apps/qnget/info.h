// SPDX-License-Identifier: MIT
// The lines of -i on standard error.
#ifndef QNGET_INFO_H
#define QNGET_INFO_H

#include <string>

#include "answer_head.h"

namespace qnget {

struct AnswerInfo {
  std::string status = "unknown";
  std::string type = "unknown";
  std::string length = "unknown";
  std::string encoding = "unknown";
  std::string url{};
};

/** What a head tells of its answer. */
AnswerInfo InfoOf(const AnswerHead &head, const std::string &url);

void PrintInfo(const AnswerInfo &info);

/** The line about the cache: "hit", "stored until ...", "not stored". */
void PrintCacheInfo(const std::string &what);

}  // namespace qnget

#endif
