// SPDX-License-Identifier: MIT
// What the kernel knows of this process: its open descriptors, its resident
// memory with the peak of that, and the time that a thread has computed.
#ifndef QNSTACK_TESTS_SUPPORT_PROCESS_FIGURES_H
#define QNSTACK_TESTS_SUPPORT_PROCESS_FIGURES_H

#include <chrono>

namespace qntest {

// The descriptors that are open.
int OpenDescriptors();

// Resident memory in KiB: now, and the most since the last ForgetPeak().
long ResidentKilobytes();
long PeakResidentKilobytes();
void ForgetPeak();

// The processor time of the calling thread, whatever else the machine does.
std::chrono::nanoseconds ThreadTime();

}  // namespace qntest

#endif
