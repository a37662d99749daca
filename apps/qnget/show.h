// SPDX-License-Identifier: MIT
// What -v shows on standard error: requests as they are sent and heads of answers
// as they come, with nothing in them that a terminal might obey.
#ifndef QNGET_SHOW_H
#define QNGET_SHOW_H

#include <string>
#include <string_view>

namespace qnget {

/** Each line of the text behind a mark and a blank. */
void ShowLines(char mark, std::string_view text);

/** A line behind an asterisk. */
void ShowNote(const std::string &note);

}  // namespace qnget

#endif
