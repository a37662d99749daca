// SPDX-License-Identifier: MIT
// One subject in the character sets that phones send it in.
#ifndef DEMO_SUBJECTS_H
#define DEMO_SUBJECTS_H

namespace demo {

// Puts the subject into a notification in each set, reads it back, and shows
// what the library makes of it. Throws std::runtime_error where that is wrong.
void TellSubjects();

}  // namespace demo

#endif
