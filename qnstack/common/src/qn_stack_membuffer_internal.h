// What the HTTP client asks of a buffer besides its exported functions.
#ifndef QNSTACK_QN_STACK_MEMBUFFER_INTERNAL_H
#define QNSTACK_QN_STACK_MEMBUFFER_INTERNAL_H

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>

#include "qnstack/qn_stack_membuffer.h"

namespace qn {

// Number of bytes that are held and not yet read.
uint32_t Unread(const QNMemBuffer *buffer);

// Appends a text in one write; one beyond what a write takes is not appended.
void WriteText(QNMemBuffer *buffer, std::string_view text);

// Appends texts, none of them of the buffer itself, in one write each.
void WriteTexts(QNMemBuffer *buffer, std::initializer_list<std::string_view> texts);

// Appends texts as one formatted piece: together, and cut where
// fnQN_MemBuffer_Printf() cuts.
void WritePiece(QNMemBuffer *buffer, std::initializer_list<std::string_view> texts);

// Where up to `count` bytes can be put so that Written() appends them without
// moving one; null where a write would have to move. Nothing changes yet.
char *WriteArea(QNMemBuffer *buffer, uint32_t count);

// Appends the `count` bytes, more than 0, that were put into the area that
// WriteArea() gave last. All fields are as after fnQN_MemBuffer_Write().
void Written(QNMemBuffer *buffer, char *area, uint32_t count);

// Gets room for an answer that turns out to be longer than the buffer; the
// capacity does not tell.
void ExpectAnswer(QNMemBuffer *buffer);

// The block of the heap that the storage lies in; `data` need not be its
// start. For tests.
std::span<const char> Block(const QNMemBuffer *buffer);

// Takes the next line that ends in CR LF off the unread part, without its end:
// fnQN_MemBuffer_ReadBySubstr() without the copy. The view holds until the
// next write. Nothing, with the cursor unchanged, if there is no whole line
// before the first zero byte.
std::optional<std::string_view> TakeLine(QNMemBuffer *buffer);

}  // namespace qn

#endif
