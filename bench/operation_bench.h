// SPDX-License-Identifier: MIT
// The groups of operations; each stands in a source of its own.
#ifndef QNSTACK_BENCH_OPERATION_BENCH_H
#define QNSTACK_BENCH_OPERATION_BENCH_H

namespace qnbench {

void RegisterTranscoding();
void RegisterCharsets();
void RegisterFormatting();
void RegisterDates();
void RegisterLists();
void RegisterBuffers();
void RegisterHeaderText();
void RegisterFiles();
void RegisterLookups();
void RegisterStrings();

}  // namespace qnbench

#endif
