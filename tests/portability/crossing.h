// SPDX-License-Identifier: MIT
// What is carried from one machine to another: files that the library writes on
// one and reads on the other, and results that must be the same bytes on all.
#ifndef QNSTACK_TESTS_PORTABILITY_CROSSING_H
#define QNSTACK_TESTS_PORTABILITY_CROSSING_H

#include <string>

namespace crossing {

// Each writes files below the library's root; false if that fails.
bool WriteRecords();
bool WriteSettings();
bool WriteCache();

// Each reads what the other machine has written; false if anything differs.
bool ReadRecords();
bool ReadSettings();
bool ReadCache();

// What all converters and character sets give for all code units, and for some
// of the characters that take two.
std::string ConvertedTexts();

// What numbers and dates look like as texts, and texts as numbers.
std::string WrittenNumbers();

}  // namespace crossing

#endif
