// SPDX-License-Identifier: MIT
#include "identity.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace qnget {
namespace {

// What tells users apart whether the answer says so or not. Lower case, as all
// names in such a line.
constexpr const char *kAlways[] = {"authorization", "cookie", "profile", "user-agent"};

std::string Lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return text;
}

std::string TextOf(const std::optional<Proxy> &gateway) {
  return gateway ? Lowered(gateway->host) + ":" + std::to_string(gateway->port) : "direct";
}

}  // namespace

Identity::Identity(const std::optional<Proxy> &gateway, std::vector<HeaderField> fields)
    : gateway_(TextOf(gateway)), fields_(std::move(fields)) {}

std::string Identity::TextFor(const std::vector<std::string> &varying) const {
  std::set<std::string> names(std::begin(kAlways), std::end(kAlways));
  for (const std::string &name : varying) names.insert(Lowered(name));
  std::string text = Escaped(gateway_);
  for (const std::string &name : names) text += " " + Escaped(name) + ValueOf(name);
  return text;
}

// A field that is not there differs from an empty one.
std::string Identity::ValueOf(const std::string &name) const {
  std::string text;
  for (const HeaderField &field : fields_) {
    if (EqualIgnoringCase(field.name, name)) text += "=" + Escaped(field.value);
  }
  return text;
}

std::vector<std::string> NamesIn(const std::string &identity_text) {
  std::vector<std::string> names;
  for (size_t blank = identity_text.find(' '); blank != std::string::npos;) {
    const size_t begin = blank + 1;
    blank = identity_text.find(' ', begin);
    const std::string item = identity_text.substr(begin, blank - begin);
    names.push_back(item.substr(0, item.find('=')));
  }
  return names;
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c > ' ' && c < 0x7f && c != '%' && c != '=') {
      escaped += c;
      continue;
    }
    char code[4];
    snprintf(code, sizeof code, "%%%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    escaped += code;
  }
  return escaped;
}

}  // namespace qnget
