// SPDX-License-Identifier: MIT
// Which of its ways to resolve names the POSIX file port of a test program has.
#ifndef QNSTACK_TESTS_POSIX_PORT_WAY_H
#define QNSTACK_TESTS_POSIX_PORT_WAY_H

namespace qntest {

// Whether it asks the kernel, which can follow links, before it walks them.
extern const bool kPortAsksTheKernel;

}  // namespace qntest

#endif
