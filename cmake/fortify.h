// SPDX-License-Identifier: MIT
// Read before each source of the libraries and of qnget: the C library then looks
// at the bounds of the memory that its functions are given. That takes a compiler
// that optimises; a level that comes with the compiler's flags stays.
#if defined __OPTIMIZE__ && !defined _FORTIFY_SOURCE
#define _FORTIFY_SOURCE 2
#endif
