// SPDX-License-Identifier: MIT
#include "show.h"

#include <cstdio>

#include "visible.h"

namespace qnget {

void ShowLines(char mark, std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    shown += mark + std::string(" ") + Visible(line) + "\n";
  }
  fputs(shown.c_str(), stderr);
}

void ShowNote(const std::string &note) { fprintf(stderr, "* %s\n", Visible(note).c_str()); }

}  // namespace qnget
