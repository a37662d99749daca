// SPDX-License-Identifier: MIT
// The trace of the HTTP client on standard output.
#ifndef QNSTACK_QN_STACK_TRACE_H
#define QNSTACK_QN_STACK_TRACE_H

namespace qn {

// Prints a trace text as printf() does: whole, whatever its length, and without
// a line end. errno stays as it was.
[[gnu::format(printf, 1, 2)]] void Trace(const char *format, ...);

// A text for a trace: itself, or "(null)" in place of a null pointer.
const char *Traced(const char *text);

}  // namespace qn

#endif
