// SPDX-License-Identifier: MIT
// Sockets that the application hands in as three functions. A host is named by its
// dotted address, as an operator's gateway often is.
#include <array>
#include <charconv>
#include <cstring>

#include "device.h"
#include "qn_stack_platform.h"

namespace {

DeviceNetwork network = {};
int32_t last_connection = 0;

}  // namespace

void device_set_network(const DeviceNetwork *handed_in) { network = *handed_in; }

int32_t qn::platform::OpenSocket() {
  last_connection = last_connection % INT32_MAX + 1;
  return last_connection;
}

bool qn::platform::ResolveHost(const char *name, uint32_t *address) {
  std::array<unsigned char, sizeof *address> bytes = {};
  const char *end = name + std::strlen(name);
  for (unsigned char &byte : bytes) {
    if (&byte != bytes.data() && *name++ != '.') return false;
    const auto [next, error] = std::from_chars(name, end, byte);
    if (error != std::errc()) return false;
    name = next;
  }
  if (name != end) return false;
  std::memcpy(address, bytes.data(), sizeof *address);
  return true;
}

int32_t qn::platform::ConnectSocket(int32_t fd, uint32_t address, uint16_t port) {
  if (network.connect == nullptr || fd < 0) return kSocketFailed;
  return network.connect(fd, address, port);
}

int32_t qn::platform::SendBytes(int32_t fd, const void *bytes, int32_t count) {
  return network.send(fd, bytes, count);
}

int32_t qn::platform::ReceiveBytes(int32_t fd, void *destination, int32_t capacity) {
  return network.receive(fd, destination, capacity);
}

// Such a network holds nothing back.
void qn::platform::HurrySocket(int32_t /*fd*/) {}

void qn::platform::CloseSocket(int32_t fd) {
  if (network.send != nullptr) network.send(fd, nullptr, 0);
}

int32_t qn::platform::LastSocketError() { return 0; }
