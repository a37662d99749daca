// SPDX-License-Identifier: MIT
#include "narration.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace demo {
namespace {

constexpr size_t kShownOctets = 24;
constexpr size_t kColumns = 95;

// Everything but line ends that would not show as itself is shown as a dot.
std::string Printable(std::string_view text) {
  std::string shown(text);
  std::replace_if(
      shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
  return shown;
}

bool IsPlainText(std::string_view body) {
  return std::all_of(body.begin(), body.end(),
                     [](char c) { return (c >= ' ' && c <= '~') || c == '\r' || c == '\n'; });
}

std::string ShortHex(std::string_view body) {
  std::string shown = "[";
  shown += std::to_string(body.size()) + " bytes:";
  for (const char c : body.substr(0, kShownOctets)) {
    char octet[4];
    std::snprintf(octet, sizeof(octet), " %02x", static_cast<unsigned char>(c));
    shown += octet;
  }
  return shown + (body.size() > kShownOctets ? " ...]" : "]");
}

// Says `line` behind a mark, without a blank where there is nothing to say.
void SayMarked(const std::string &mark, const std::string &line) {
  Say("     " + mark + (line.empty() ? "" : " " + line));
}

void ShowLines(std::string_view text, const std::string &mark) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    SayMarked(mark, Printable(line));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

}  // namespace

void Say(const std::string &line) { std::printf("%s\n", line.c_str()); }

void ShowCommand(const std::string &program, const std::vector<std::string> &words) {
  std::string line = "   $ " + program;
  for (const std::string &word : words) {
    const std::string shown = word.find(' ') == std::string::npos ? word : "'" + word + "'";
    if (line.size() + shown.size() > kColumns) {
      Say(line + " \\");
      line = "      ";
    }
    line += " " + shown;
  }
  Say(line);
}

void ShowMessage(std::string_view message, const std::string &mark) {
  constexpr std::string_view kHeaderEnd = "\r\n\r\n";
  const size_t end = message.find(kHeaderEnd);
  const size_t header_size =
      end == std::string_view::npos ? message.size() : end + kHeaderEnd.size();
  const std::string_view body = message.substr(header_size);
  ShowLines(message.substr(0, header_size), mark);
  if (IsPlainText(body)) {
    ShowLines(body, mark);
  } else {
    SayMarked(mark, ShortHex(body));
  }
}

void Check(bool holds, const std::string &what) {
  if (!holds) throw std::runtime_error("not so: " + what);
  Say("   ok: " + what);
}

}  // namespace demo
