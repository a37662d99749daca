// What the tests of the number formatter reach besides its exported functions.
#ifndef QNSTACK_QN_ITOA_INTERNAL_H
#define QNSTACK_QN_ITOA_INTERNAL_H

#include <cstdint>

namespace qn {

// Writes `value` in `radix`; with `negative` a "-" and the digits of its
// two's-complement negation. A radix below 2 writes an empty string.
char *xtoa(uint32_t value, char *buf, uint32_t radix, int negative);

}  // namespace qn

#endif
