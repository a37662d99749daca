// SPDX-License-Identifier: MIT
// A taken entry of the socket table without any network behind it, to see
// whether something closes it.
#ifndef QNSTACK_TESTS_SUPPORT_TAKEN_SLOT_H
#define QNSTACK_TESTS_SUPPORT_TAKEN_SLOT_H

#include <cstdint>

namespace qntest {

// Takes the slot, over a descriptor that leads nowhere, and frees it at its
// end.
class TakenSlot {
 public:
  explicit TakenSlot(int32_t slot);
  ~TakenSlot();
  TakenSlot(const TakenSlot &) = delete;
  TakenSlot &operator=(const TakenSlot &) = delete;

  // Whether the descriptor is still open; ask before others are opened.
  bool IsOpen() const;

  // Whether the table counts the slot as free.
  bool IsFree() const;

 private:
  int32_t slot_;
  int fd_;
};

}  // namespace qntest

#endif
