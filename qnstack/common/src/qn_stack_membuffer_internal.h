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

// Appends a terminated text, whole; one beyond 2 GB is not appended.
void WriteText(QNMemBuffer *buffer, const char *text);

}  // namespace qn

#endif
