// SPDX-License-Identifier: MIT
#include "info.h"

#include <cstdio>

#include "visible.h"

namespace qnget {
namespace {

std::string EncodingText(const AnswerHead &head) {
  const std::vector<std::string> codings = head.Members("Content-Encoding");
  if (codings.empty()) return "none";
  return codings.size() == 1 && EqualIgnoringCase(codings[0], "gzip") ? "gzip" : "other";
}

// A chunked body has no length that is known ahead.
std::string LengthText(const AnswerHead &head) {
  const std::string text = head.First("Content-Length").value_or("");
  const bool known = ReadDecimal(text) && head.Members("Transfer-Encoding").empty();
  return known ? text : "unknown";
}

}  // namespace

AnswerInfo InfoOf(const AnswerHead &head, const std::string &url) {
  AnswerInfo info;
  const std::string type = head.MediaType();
  info.status = std::to_string(head.status);
  if (!type.empty()) info.type = Visible(type);
  info.length = LengthText(head);
  info.encoding = EncodingText(head);
  info.url = url;
  return info;
}

void PrintInfo(const AnswerInfo &info) {
  fprintf(stderr, "status: %s\n", info.status.c_str());
  fprintf(stderr, "type: %s\n", info.type.c_str());
  fprintf(stderr, "length: %s\n", info.length.c_str());
  fprintf(stderr, "encoding: %s\n", info.encoding.c_str());
  fprintf(stderr, "url: %s\n", info.url.c_str());
}

void PrintCacheInfo(const std::string &what) { fprintf(stderr, "cache: %s\n", what.c_str()); }

}  // namespace qnget
