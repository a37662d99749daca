// SPDX-License-Identifier: MIT
#include "cache_directives.h"

#include <algorithm>

namespace qnget {
namespace {

// Takes what stands before the next comma outside quotes off a list, and the
// comma. A backslash within quotes takes the next byte as it is; quotes that
// nobody closes reach to the end.
std::string_view TakeMember(std::string_view &list) {
  bool quoted = false;
  size_t end = 0;
  for (; end < list.size() && (quoted || list[end] != ','); ++end) {
    if (list[end] == '"') quoted = !quoted;
    if (quoted && list[end] == '\\') ++end;
  }
  end = std::min(end, list.size());
  const std::string_view member = list.substr(0, end);
  list.remove_prefix(std::min(end + 1, list.size()));
  return Trimmed(member);
}

std::string Unquoted(std::string_view text) {
  if (!text.starts_with('"')) return std::string(text);
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') continue;
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

CacheDirective ReadDirective(std::string_view member) {
  const size_t equals = member.find('=');
  const std::string name(Trimmed(member.substr(0, equals)));
  if (equals == std::string_view::npos) return {name, ""};
  return {name, Unquoted(Trimmed(member.substr(equals + 1)))};
}

}  // namespace

std::vector<CacheDirective> ReadCacheDirectives(const std::vector<HeaderField> &fields) {
  std::vector<CacheDirective> directives;
  for (const HeaderField &field : fields) {
    if (!EqualIgnoringCase(field.name, "Cache-Control")) continue;
    for (std::string_view list = field.value; !list.empty();) {
      const std::string_view member = TakeMember(list);
      if (!member.empty()) directives.push_back(ReadDirective(member));
    }
  }
  return directives;
}

bool HasDirective(const std::vector<CacheDirective> &directives, std::string_view name) {
  return std::any_of(directives.begin(), directives.end(), [&](const CacheDirective &directive) {
    return EqualIgnoringCase(directive.name, name);
  });
}

bool HasPragmaNoCache(const std::vector<HeaderField> &fields) {
  const std::vector<std::string> members = AnswerHead{0, fields}.Members("Pragma");
  return std::any_of(members.begin(), members.end(), [](const std::string &member) {
    return EqualIgnoringCase(member, "no-cache");
  });
}

}  // namespace qnget
