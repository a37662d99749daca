#include "info.h"

#include <cstdio>

namespace qnget {

void PrintInfo(const AnswerInfo &info) {
  fprintf(stderr, "status: %s\n", info.status.c_str());
  fprintf(stderr, "type: %s\n", info.type.c_str());
  fprintf(stderr, "length: %s\n", info.length.c_str());
  fprintf(stderr, "encoding: %s\n", info.encoding.c_str());
  fprintf(stderr, "url: %s\n", info.url.c_str());
}

void PrintCacheInfo(const std::string &what) { fprintf(stderr, "cache: %s\n", what.c_str()); }

}  // namespace qnget
