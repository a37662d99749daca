// SPDX-License-Identifier: MIT
// The wrapped socket layer: the linker sends calls to `fnQN_Stack_SendData` to
// `__wrap_fnQN_Stack_SendData`.
#include "support/socket_layer_faults.h"

#include <cstdlib>

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

int32_t __real_fnQN_Stack_SocketInit();
int32_t __real_fnQN_Stack_CreateSocket();
int32_t __real_fnQN_Stack_SendData(int32_t slot, const void *bytes, int32_t count);
int32_t __real_fnQN_Stack_RecvData(int32_t slot, void *destination, int32_t capacity);

int32_t __wrap_fnQN_Stack_SocketInit();
int32_t __wrap_fnQN_Stack_CreateSocket();
int32_t __wrap_fnQN_Stack_SendData(int32_t slot, const void *bytes, int32_t count);
int32_t __wrap_fnQN_Stack_RecvData(int32_t slot, void *destination, int32_t capacity);

}  // extern "C"

namespace qntest {
namespace {

SocketLayerFaults *active = nullptr;

// Takes the next scripted result; false if there is none.
bool Take(std::deque<int32_t> SocketLayerFaults::*script, int32_t &result) {
  if (active == nullptr || (active->*script).empty()) return false;
  result = (active->*script).front();
  (active->*script).pop_front();
  return true;
}

}  // namespace

SocketLayerFaults::SocketLayerFaults() {
  if (active != nullptr) std::abort();  // a mistake in the test
  active = this;
}

SocketLayerFaults::~SocketLayerFaults() { active = nullptr; }

}  // namespace qntest

extern "C" {

using qntest::SocketLayerFaults;

int32_t __wrap_fnQN_Stack_SocketInit() {
  int32_t result = 0;
  return qntest::Take(&SocketLayerFaults::init, result) ? result : __real_fnQN_Stack_SocketInit();
}

int32_t __wrap_fnQN_Stack_CreateSocket() {
  int32_t result = 0;
  return qntest::Take(&SocketLayerFaults::create, result) ? result
                                                          : __real_fnQN_Stack_CreateSocket();
}

int32_t __wrap_fnQN_Stack_SendData(int32_t slot, const void *bytes, int32_t count) {
  int32_t result = 0;
  return qntest::Take(&SocketLayerFaults::send, result)
             ? result
             : __real_fnQN_Stack_SendData(slot, bytes, count);
}

int32_t __wrap_fnQN_Stack_RecvData(int32_t slot, void *destination, int32_t capacity) {
  if (qntest::active != nullptr && qntest::active->before_receive) {
    qntest::active->before_receive();
  }
  int32_t result = 0;
  return qntest::Take(&SocketLayerFaults::receive, result)
             ? result
             : __real_fnQN_Stack_RecvData(slot, destination, capacity);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
