// SPDX-License-Identifier: MIT
// Text bodies in the character sets of multimedia messages.
#ifndef QNGET_TEXT_H
#define QNGET_TEXT_H

#include <cstdint>
#include <string>

namespace qnget {

/** The sets by name, for people: "3 (US-ASCII), 4 ...". */
std::string KnownCharsets();

/** Why a text is not the MIBenum number of a known set; empty if it is. */
std::string CheckCharset(const std::string &text);

/**
 * The text as UTF-8, up to its first zero character. Throws Failure where the
 * bytes are no text of that set.
 */
std::string TextFrom(uint32_t charset, const std::string &bytes);

}  // namespace qnget

#endif
