// SPDX-License-Identifier: MIT
// What the tests of the WAP facade reach besides its exported functions.
#ifndef QNSTACK_QN_STACK_WAP_INTERNAL_H
#define QNSTACK_QN_STACK_WAP_INTERNAL_H

#include <cstdint>

namespace qn {

// The version asked for last; 1 until the facade is started.
extern int32_t stack_version;

}  // namespace qn

#endif
