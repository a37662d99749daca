// SPDX-License-Identifier: MIT
// String helpers that take header and URL text apart, for the HTTP client, the
// cache and applications.
#include "qnstack/qn_stack_tools.h"

#include <cstring>
#include <string_view>

#include "qn_length.h"
#include "qn_owned.h"
#include "qnstack/qn_stack_strings.h"
#include "qnstack/qn_stricmp.h"

char *fnQNStack_StrDup(const char *string) { return fnQN_StrDup(string); }

char *fnQNStack_StrArraySplit(const char *string, const char *delimiters, uint32_t *position) {
  if (string == nullptr || delimiters == nullptr || position == nullptr) return nullptr;
  // Nothing behind the terminator may be read, so a position there is noticed
  // on the way to it.
  const bool inside = qn::LengthWithin(string, *position) == *position;
  const char *start = inside ? string + *position : "";
  const std::string_view token(start, std::strcspn(start, delimiters));
  char *copy = qn::CopyText(token);
  if (copy != nullptr) *position += static_cast<uint32_t>(token.size());
  return copy;
}

char *fnQNStack_StrArraySkip(const char *string, const char *delimiters) {
  if (string == nullptr || delimiters == nullptr) return const_cast<char *>(string);
  return const_cast<char *>(string) + std::strspn(string, delimiters);
}

int32_t fnQNStack_StrCMPI(const char *string, const char *prefix) {
  if (string == nullptr || prefix == nullptr) return string == prefix ? 0 : 1;
  const std::size_t length = std::strlen(prefix);
  if (qn::LengthWithin(string, length) < length) return 1;
  return fnQNRTL_strnicmp(string, prefix, static_cast<uint32_t>(length)) == 0 ? 0 : -1;
}
