// SPDX-License-Identifier: MIT
// The program is linked with --wrap for each function below: calls to `malloc`
// arrive at `__wrap_malloc`, and `__real_malloc` is the system heap (or a
// sanitizer's).
#include "support/failing_heap.h"

#include <malloc.h>

#include <cstdlib>
#include <string_view>

namespace {

// Counts one allocation; false when it is to be refused.
bool Admit(std::string_view name, size_t bytes) {
  qntest::CallFaults::NoteBytesAsked(bytes);
  return !qntest::CallFaults::Fail(qntest::kHeapCalls, name);
}

// A block on its way to the caller.
void *Given(void *block) {
  if (block != nullptr) qntest::CallFaults::NoteBlock(malloc_usable_size(block));
  return block;
}

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);

void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *block, size_t size);
void __wrap_free(void *block);

void *__wrap_malloc(size_t size) {
  return Admit("malloc", size) ? Given(__real_malloc(size)) : nullptr;
}

void *__wrap_calloc(size_t count, size_t size) {
  return Admit("calloc", count * size) ? Given(__real_calloc(count, size)) : nullptr;
}

void *__wrap_realloc(void *block, size_t size) {
  if (!Admit("realloc", size)) return nullptr;
  const size_t before = malloc_usable_size(block);
  void *resized = __real_realloc(block, size);
  if (block == nullptr) return Given(resized);
  if (resized != nullptr) qntest::CallFaults::NoteResize(before, malloc_usable_size(resized));
  return resized;
}

void __wrap_free(void *block) {
  if (block != nullptr) qntest::CallFaults::NoteFree(malloc_usable_size(block));
  __real_free(block);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
