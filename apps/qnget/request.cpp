// SPDX-License-Identifier: MIT
// The library sends four fields out of its table, each value as it stands there.
// A line end in the last of them begins the lines of all other fields.
#include "request.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "qnstack/qn_stack_http_head.h"

namespace qnget {
namespace {

// The fields of the table that are sent, in their order and as the table spells them.
constexpr std::array kTableNames{"Accept", "User-Agent", "Profile", "Accept-Language"};

// What the library writes by itself, and what would change how a connection is used.
constexpr std::array kRefusedNames{
    "Host",       "Content-Length",   "Transfer-Encoding", "Expect", "Cookie2",
    "Connection", "Proxy-Connection", "Keep-Alive",        "TE",     "Trailer",
    "Upgrade"};

// What tells who the user is.
constexpr std::array kPrivateNames{"Authorization", "Cookie"};

template <size_t N>
bool IsAmong(const std::array<const char *, N> &names, std::string_view name) {
  return std::any_of(names.begin(), names.end(),
                     [&](const char *other) { return EqualIgnoringCase(other, name); });
}

bool IsOfAToken(char c) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         kMarks.find(c) != std::string_view::npos;
}

bool IsControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f; }

// The value of a field of the table; nothing where the user leaves it out. What
// is given last counts.
std::optional<std::string> TableValue(const char *name, const Options &options) {
  const char *usual = fnQNStack_Http_Head_Read(name);
  std::optional<std::string> value;
  if (usual != nullptr) value = usual;
  for (const auto &[set_name, set_value] : options.headers) {
    if (set_name == name) value = set_value;
  }
  for (const HeaderField &given : options.header_lines) {
    if (!EqualIgnoringCase(given.name, name)) continue;
    value = given.value.empty() ? std::nullopt : std::optional(given.value);
  }
  return value;
}

}  // namespace

std::string CheckHeaderLine(const std::string &line) {
  const size_t colon = line.find(':');
  if (colon == std::string::npos) return "not 'Name: value'";
  const HeaderField field = ReadHeaderLine(line);
  if (colon == 0 ||
      !std::all_of(line.begin(), line.begin() + static_cast<ptrdiff_t>(colon), IsOfAToken)) {
    return "what stands before the colon is no name of a header field";
  }
  if (std::any_of(line.begin(), line.end(), IsControl)) return "it has control characters";
  if (IsAmong(kRefusedNames, field.name)) {
    return "the library itself decides on " + field.name;
  }
  if (field.value.empty() && !IsAmong(kTableNames, field.name)) {
    return "without a value just Accept, User-Agent, Profile and Accept-Language are left out";
  }
  return {};
}

HeaderField ReadHeaderLine(const std::string &line) {
  const size_t colon = line.find(':');
  return {line.substr(0, colon), std::string(Trimmed(std::string_view(line).substr(colon + 1)))};
}

std::vector<HeaderField> RequestFields(const Options &options) {
  std::vector<HeaderField> fields;
  fnQNStack_Http_Head_SetDefault();
  for (const char *name : kTableNames) {
    if (const auto value = TableValue(name, options)) fields.push_back({name, *value});
  }
  fnQNStack_Http_Head_FreeAll();
  for (const HeaderField &given : options.header_lines) {
    if (!IsAmong(kTableNames, given.name)) fields.push_back(given);
  }
  return fields;
}

void DropPrivateFields(std::vector<HeaderField> &fields) {
  std::erase_if(fields, [](const auto &field) { return IsAmong(kPrivateNames, field.name); });
}

std::string ProblemOfFields(const std::vector<HeaderField> &fields, bool more_to_come) {
  const bool nothing_to_carry = fields.empty() && !more_to_come;
  if (nothing_to_carry || (!fields.empty() && IsAmong(kTableNames, fields.front().name))) return {};
  return "the library carries further fields behind Accept, User-Agent, Profile or "
         "Accept-Language; leave one of them";
}

void WriteHeaderTable(const std::vector<HeaderField> &fields) {
  std::string last;   // the one that carries what the table has no place for
  std::string value;  // of it
  fnQNStack_Http_Head_FreeAll();
  for (const HeaderField &field : fields) {
    if (IsAmong(kTableNames, field.name)) {
      last = field.name;
      value = field.value;
    } else {
      value += "\r\n" + field.name + ": " + field.value;
    }
    fnQNStack_Http_Head_Write(last.c_str(), value.c_str());
  }
}

}  // namespace qnget
