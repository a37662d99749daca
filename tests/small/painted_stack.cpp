// SPDX-License-Identifier: MIT
// The stack is that of a thread of its own. The thread's own record stands at the
// top of it, and counts for nothing.
#include "painted_stack.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr unsigned char kPaint = 0xA5;

alignas(4096) std::array<unsigned char, 512 * 1024> area;
void (*measured)() = nullptr;
std::uintptr_t top = 0;

void *RunMeasured(void * /*argument*/) {
  const unsigned char here = 0;
  top = reinterpret_cast<std::uintptr_t>(&here);
  measured();
  return nullptr;
}

// Runs the thread to its end; no figure comes of a thread that does not start.
void RunOnArea() {
  pthread_attr_t attributes;
  pthread_t thread;
  if (pthread_attr_init(&attributes) != 0 ||
      pthread_attr_setstack(&attributes, area.data(), area.size()) != 0 ||
      pthread_create(&thread, &attributes, RunMeasured, nullptr) != 0 ||
      pthread_join(thread, nullptr) != 0) {
    std::fprintf(stderr, "no thread on a painted stack\n");
    std::exit(EXIT_FAILURE);
  }
  pthread_attr_destroy(&attributes);
}

}  // namespace

std::size_t small::StackOf(void (*function)()) {
  measured = function;
  RunOnArea();
  area.fill(kPaint);
  RunOnArea();
  const auto *deepest =
      std::find_if(area.begin(), area.end(), [](unsigned char byte) { return byte != kPaint; });
  return top - reinterpret_cast<std::uintptr_t>(deepest);
}
