// SPDX-License-Identifier: MIT
#include "support/taken_slot.h"

#include <fcntl.h>
#include <unistd.h>

#include "qnstack/qn_stack_porting.h"

namespace qntest {

TakenSlot::TakenSlot(int32_t slot) : slot_(slot), fd_(open("/dev/null", O_RDWR | O_CLOEXEC)) {
  socket_list[slot_].fd = fd_;
}

TakenSlot::~TakenSlot() {
  if (IsOpen()) close(fd_);
  socket_list[slot_] = QNSocketSlot{};
}

bool TakenSlot::IsOpen() const { return fcntl(fd_, F_GETFD) != -1; }

bool TakenSlot::IsFree() const { return socket_list[slot_].fd == 0; }

}  // namespace qntest
