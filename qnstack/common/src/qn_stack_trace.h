// The trace lines of the HTTP client: a label and a value on standard output,
// without a line end.
#ifndef QNSTACK_QN_STACK_TRACE_H
#define QNSTACK_QN_STACK_TRACE_H

#include <cstdint>
#include <string_view>

namespace qn {

void Trace(std::string_view label);
void Trace(std::string_view label, std::string_view text);
void Trace(std::string_view label, const char *text);  // null shows as "(null)"
void Trace(std::string_view label, int32_t number);

}  // namespace qn

#endif
