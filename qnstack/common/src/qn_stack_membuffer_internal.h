// What the HTTP client asks of a buffer besides its exported functions.
#ifndef QNSTACK_QN_STACK_MEMBUFFER_INTERNAL_H
#define QNSTACK_QN_STACK_MEMBUFFER_INTERNAL_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "qnstack/qn_stack_membuffer.h"

namespace qn {

// Number of bytes that are held and not yet read.
uint32_t Unread(const QNMemBuffer *buffer);

// Appends a text in one write; one beyond what a write takes is not appended.
void WriteText(QNMemBuffer *buffer, std::string_view text);

// Takes the next line that ends in CR LF off the unread part, without its end:
// fnQN_MemBuffer_ReadBySubstr() without the copy. The view holds until the
// next write. Nothing, with the cursor unchanged, if there is no whole line
// before the first zero byte.
std::optional<std::string_view> TakeLine(QNMemBuffer *buffer);

}  // namespace qn

#endif
