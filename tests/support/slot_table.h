// SPDX-License-Identifier: MIT
// The socket layer's table of slots as tests see it and leave it.
#ifndef QNSTACK_TESTS_SUPPORT_SLOT_TABLE_H
#define QNSTACK_TESTS_SUPPORT_SLOT_TABLE_H

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "qnstack/qn_stack_porting.h"

bool operator==(const QNSocketSlot &a, const QNSocketSlot &b);

// For the messages of failed assertions.
std::ostream &operator<<(std::ostream &out, const QNSocketSlot &slot);

namespace qntest {

// Numbers that are no slot's.
inline constexpr int32_t kBadSlots[] = {INT32_MIN, -1, 0, 20, INT32_MAX};

// Member of fixtures that use slots: the table is empty when a test starts,
// and whatever the test leaves in it is closed and cleared.
class SlotTable {
 public:
  SlotTable() { Clear(); }
  ~SlotTable() { Clear(); }
  SlotTable(const SlotTable &) = delete;
  SlotTable &operator=(const SlotTable &) = delete;

  // All entries, the unused first one included.
  static std::vector<QNSocketSlot> Entries();

  // Numbers of the slots that are taken.
  static std::vector<int32_t> Taken();

  // Takes every slot that is free, with made-up descriptors.
  static void TakeAll();

  static void Clear();
};

}  // namespace qntest

#endif
