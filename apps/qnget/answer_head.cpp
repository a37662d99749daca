// SPDX-License-Identifier: MIT
#include "answer_head.h"

#include <algorithm>
#include <charconv>

namespace qnget {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr size_t kDigitsOfStatus = 3;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Takes the next line off the text, without its end.
std::string_view TakeLine(std::string_view &text) {
  const size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// "HTTP/1.1 200 OK": three digits behind the first blanks, and no fourth.
int ReadStatus(std::string_view line) {
  if (line.size() < 5 || !EqualIgnoringCase(line.substr(0, 5), "HTTP/")) return 0;
  const size_t blank = line.find_first_of(kBlanks);
  if (blank == std::string_view::npos) return 0;
  line = Trimmed(line.substr(blank));
  line = line.substr(0, line.find_first_of(kBlanks));
  const std::optional<uint64_t> status = ReadDecimal(line);
  return status && line.size() == kDigitsOfStatus ? static_cast<int>(*status) : 0;
}

void TakeField(std::string_view line, std::vector<HeaderField> &fields) {
  if (line.find_first_of(kBlanks) == 0) {
    if (!fields.empty()) fields.back().value.append(" ").append(Trimmed(line));
    return;
  }
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  fields.push_back(
      {std::string(Trimmed(line.substr(0, colon))), std::string(Trimmed(line.substr(colon + 1)))});
}

}  // namespace

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

std::string_view Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

std::vector<std::string> ListMembers(std::string_view list) {
  std::vector<std::string> members;
  while (!list.empty()) {
    const size_t comma = list.find(',');
    const std::string_view member = Trimmed(list.substr(0, comma));
    if (!member.empty()) members.emplace_back(member);
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
  }
  return members;
}

std::optional<uint64_t> ReadDecimal(std::string_view text) {
  uint64_t number = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return {};
  return number;
}

std::optional<std::string> AnswerHead::First(std::string_view name) const {
  const auto found = std::find_if(fields.begin(), fields.end(), [&](const HeaderField &field) {
    return EqualIgnoringCase(field.name, name);
  });
  if (found == fields.end()) return {};
  return found->value;
}

std::string AnswerHead::MediaType() const {
  const std::string value = First("Content-Type").value_or("");
  return value.substr(0, value.find_first_of("; \t"));
}

std::vector<std::string> AnswerHead::Members(std::string_view name) const {
  std::vector<std::string> all;
  for (const HeaderField &field : fields) {
    if (!EqualIgnoringCase(field.name, name)) continue;
    for (std::string &member : ListMembers(field.value)) all.push_back(std::move(member));
  }
  return all;
}

AnswerHead ReadAnswerHead(std::string_view text) {
  AnswerHead head;
  head.status = ReadStatus(TakeLine(text));
  while (!text.empty()) TakeField(TakeLine(text), head.fields);
  return head;
}

}  // namespace qnget
