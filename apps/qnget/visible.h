// SPDX-License-Identifier: MIT
// Text from a peer, made fit for a terminal.
#ifndef QNGET_VISIBLE_H
#define QNGET_VISIBLE_H

#include <string>
#include <string_view>

namespace qnget {

/** The text with "\xNN" for each byte that is not printable ASCII. */
std::string Visible(std::string_view text);

}  // namespace qnget

#endif
