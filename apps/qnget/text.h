// Text bodies in the character sets of multimedia messages.
#ifndef QNGET_TEXT_H
#define QNGET_TEXT_H

#include <cstdint>
#include <string>

namespace qnget {

/**
 * The text as UTF-8, up to its first zero character. Throws Failure where the
 * bytes are no text of that set.
 */
std::string TextFrom(uint32_t charset, const std::string &bytes);

}  // namespace qnget

#endif
