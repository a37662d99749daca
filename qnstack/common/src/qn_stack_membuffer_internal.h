// SPDX-License-Identifier: MIT
// What the HTTP client uses of buffers besides their exported functions.
#ifndef QNSTACK_QN_STACK_MEMBUFFER_INTERNAL_H
#define QNSTACK_QN_STACK_MEMBUFFER_INTERNAL_H

#include <cstdint>

#include "qnstack/qn_stack_membuffer.h"

namespace qn {

// The end of every line of a request and of a response's header.
inline constexpr char kLineEnd[] = "\r\n";

// Number of bytes that are held and not yet read.
uint32_t Unread(const QNMemBuffer *buffer);

// fnQN_MemBuffer_Write() that tells whether all bytes are there; else none is.
bool WriteBytes(QNMemBuffer *buffer, const void *bytes, int32_t count);

// Appends a terminated text, whole; false if it is not there: when the heap
// refuses, and for a text beyond 2 GB.
bool WriteText(QNMemBuffer *buffer, const char *text);

// Appends a name, a value and a line end, none of them a piece of the buffer;
// false if not all of it is there.
bool WriteItem(QNMemBuffer *buffer, const char *name, const char *value);

// Drops what was appended since the buffer's `total` was this.
void TakeBack(QNMemBuffer *buffer, uint32_t total);

// Appends a formatted piece, cut at 2047 bytes; false if nothing of it is
// there. The format must not give an empty text.
template <typename... Values>
bool WriteFormatted(QNMemBuffer *buffer, const char *format, Values... values) {
  const uint32_t before = buffer->total;
  fnQN_MemBuffer_Printf(buffer, format, values...);
  return buffer->total != before;
}

}  // namespace qn

#endif
