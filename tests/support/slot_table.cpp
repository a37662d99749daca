// SPDX-License-Identifier: MIT
#include "support/slot_table.h"

#include <unistd.h>

#include <iterator>
#include <ostream>
#include <tuple>

#include "support/network_faults.h"

bool operator==(const QNSocketSlot &a, const QNSocketSlot &b) {
  return std::tie(a.fd, a.addr, a.port, a.connState) == std::tie(b.fd, b.addr, b.port, b.connState);
}

std::ostream &operator<<(std::ostream &out, const QNSocketSlot &slot) {
  return out << "{fd " << slot.fd << ", addr " << slot.addr << ", port " << slot.port
             << ", connState " << slot.connState << '}';
}

namespace qntest {

std::vector<QNSocketSlot> SlotTable::Entries() {
  return {std::begin(socket_list), std::end(socket_list)};
}

std::vector<int32_t> SlotTable::Taken() {
  std::vector<int32_t> taken;
  for (int32_t slot = 0; slot < QN_SOCKET_SLOTS; ++slot) {
    if (socket_list[slot].fd != 0) taken.push_back(slot);
  }
  return taken;
}

void SlotTable::TakeAll() {
  for (int32_t slot = 1; slot < QN_SOCKET_SLOTS; ++slot) {
    if (socket_list[slot].fd == 0) {
      socket_list[slot].fd = 2 * NetworkFaults::kFirstMadeUpDescriptor + slot;
    }
  }
}

void SlotTable::Clear() {
  for (QNSocketSlot &slot : socket_list) {
    if (slot.fd > 0 && slot.fd < NetworkFaults::kFirstMadeUpDescriptor) close(slot.fd);
    slot = {};
  }
}

}  // namespace qntest
