// The program is linked with --wrap for each function below: calls to `malloc`
// arrive at `__wrap_malloc`, and `__real_malloc` is the system heap (or a
// sanitizer's).
#include "support/failing_heap.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

struct HeapState {
  bool armed;
  int first_refused;
  bool refuse_rest;
  int allocations;
  int refusals;
  size_t bytes_asked;
  int frees;
};

constinit HeapState state = {};

bool IsRefused(int allocation) {
  if (state.first_refused == qntest::FailingHeap::kCountOnly) {
    return false;
  }
  return allocation == state.first_refused ||
         (state.refuse_rest && allocation > state.first_refused);
}

// Counts one allocation; false when it is to be refused.
bool Admit(size_t bytes) {
  if (!state.armed) {
    return true;
  }
  ++state.allocations;
  state.bytes_asked += bytes;
  if (!IsRefused(state.allocations)) {
    return true;
  }
  ++state.refusals;
  errno = ENOMEM;
  return false;
}

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
char *__real_strdup(const char *text);
void __real_free(void *block);

void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *block, size_t size);
char *__wrap_strdup(const char *text);
void __wrap_free(void *block);

void *__wrap_malloc(size_t size) { return Admit(size) ? __real_malloc(size) : nullptr; }

void *__wrap_calloc(size_t count, size_t size) {
  return Admit(count * size) ? __real_calloc(count, size) : nullptr;
}

void *__wrap_realloc(void *block, size_t size) {
  return Admit(size) ? __real_realloc(block, size) : nullptr;
}

char *__wrap_strdup(const char *text) {
  return Admit(std::strlen(text) + 1) ? __real_strdup(text) : nullptr;
}

void __wrap_free(void *block) {
  if (state.armed && block != nullptr) {
    ++state.frees;
  }
  __real_free(block);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace qntest {

FailingHeap::FailingHeap(int first_refused, Reach reach) {
  // Two at once would disturb each other's counts: a mistake in the test.
  if (state.armed) {
    std::abort();
  }
  state = HeapState{.armed = true,
                    .first_refused = first_refused,
                    .refuse_rest = reach == Reach::kRest,
                    .allocations = 0,
                    .refusals = 0,
                    .bytes_asked = 0,
                    .frees = 0};
}

FailingHeap::~FailingHeap() { state.armed = false; }

int FailingHeap::Allocations() const { return state.allocations; }

int FailingHeap::Refusals() const { return state.refusals; }

size_t FailingHeap::BytesAsked() const { return state.bytes_asked; }

int FailingHeap::Frees() const { return state.frees; }

}  // namespace qntest
