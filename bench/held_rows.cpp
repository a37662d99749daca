// SPDX-License-Identifier: MIT
#include "held_rows.h"

#include <algorithm>
#include <regex>

#include "platform.h"

namespace {

struct Held {
  const char *rows;  // regular expression for "group/operation"
  const char *by;
};

constexpr Held kHeld[] = {
    {"transcoding/UCS-2 units to UTF-8, CJK", "each unit is encoded alone, surrogates too"},
    {"charsets/UTF-16 \\(1015\\) decoded, (ASCII|Latin).*",
     "a byte-order mark counts wherever it stands, and the area is zero-filled"},

    {"formatting/\".*|formatting/300 characters.*", "apr_vformatter(), which makes the text"},

    {"dates/HTTP date written", "apr_vformatter(), which makes the text"},
    {"dates/now, .*", "time() and localtime_r(), which the peer calls too"},

    {"list of 100/appended one by one, cleared", "every node is a heap block of its own"},
    {"list of 100/.* removed .*", "a node is looked for in its list before it is taken out"},
    {"list of 100/70th by its index", "the walk begins at the head, also where the tail is nearer"},
    {"list of 100/last found by identity", "the walk that the peer makes too"},
    {"list of 100/walked by the iterator functions", "three calls of functions for each node"},
    {"list of 100/walked by the fields of the nodes", "the walk that the peer makes too"},
    {"list of 100/reversed", "the walk that the peer makes too"},
    {"list of 100/sorted, .*", "which elements are compared, and in what order, is promised"},

    {"buffer/.* appends .*, no capacity", "the capacity grows by what is asked for"},
    {"buffer/.* appends .*, capacity .*", "a new buffer's memory is zero-filled"},
    {"buffer/20 lines .*", "each line is a copy, and the rest moves to the front of data"},
    {"buffer/10 header lines .*", "a new buffer's memory is zero-filled"},
    {"buffer/a line printed", "apr_vformatter(), which makes the text"},
    {"buffer/made .*, emptied, freed",
     "memory is zero-filled when it is new and when it is emptied"},

    {"header text/answer header .*",
     "each line is a copy, and the rest moves to the front of data"},
    {"header text/5 tokens, copied", "a token is a zero-filled block that fnQN_Free() takes"},
    {"header text/prefix ignoring case", "A to Z alone are folded, whatever the locale"},

    {"files/.* saved", "the directory is locked, and synced as the file is"},
    {"files/20 settings loaded", "the directory is locked, and a \".bak\" in it is put back first"},

    {"look-ups/header table of 6: a value replaced", "strdup(), and a walk in the table's order"},
    {"look-ups/header table of 6: each name read", "the table keeps its order and is walked"},
    {"look-ups/full jar: .*", "the jar keeps its order and is walked, name by name"},

    {"strings/(strlen|strchr|strcmp|memcmp|strcpy|memcpy|memset|strstr|atoi)\\b.*",
     "the C library's function of that name"},
    {"strings/(copy on the heap,|strdup\\b).*", "strlen(), malloc() and memcpy(), as in strdup()"},
    {"strings/memstr .*", "memmem()"},
    {"strings/begins with", "strlen() and strncmp()"},
    {"strings/.* zeroed bytes from the heap", "calloc()"},
    {"strings/strncat, .*", "a block of n + 1 bytes is taken first: NULL says that there was none"},
    {"strings/(stricmp|strnicmp) ordering, .*", "the result is a difference of folded letters"},
    {"strings/(stricmp equality|stristr|STRISTR).*",
     "A to Z alone are folded, whatever the locale"},
    {"strings/strnicmp, 'B' to 'Y', .*",
     "both lengths are looked at first, 'B' to 'Y' alone folded"},
};

bool Matches(const std::string &row, const Held &held) {
  return std::regex_match(row, std::regex(held.rows));
}

}  // namespace

const char *qnbench::WhatHolds(const std::string &row) {
  for (const Held &held : kHeld) {
    if (Matches(row, held)) return held.by;
  }
  return nullptr;
}

void qnbench::CheckHeldRows(const std::vector<std::string> &rows) {
  for (const Held &held : kHeld) {
    const bool found = std::any_of(rows.begin(), rows.end(),
                                   [&held](const std::string &row) { return Matches(row, held); });
    if (!found) bench::Fail(std::string("no operation is called ") + held.rows);
  }
}
