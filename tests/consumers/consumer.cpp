// SPDX-License-Identifier: MIT
// A C++17 program of a user: text through a buffer and a header table. Exit
// code 0 when all is as promised.
#include <memory>
#include <string>

#include "qnstack/qnstack.h"

int main() {
  const std::unique_ptr<QNMemBuffer, decltype(&fnQN_MemBuffer_Free)> buffer(fnQN_MemBuffer_New(16),
                                                                            fnQN_MemBuffer_Free);
  if (buffer == nullptr) return 1;
  fnQN_MemBuffer_Printf(buffer.get(), "%s %d", "status", 200);
  fnQN_MemBuffer_WriteItem(buffer.get(), "; ", "ok");
  if (std::string(buffer->data, buffer->length) != "status 200; ok\r\n") return 1;

  fnQNStack_Http_Head_Write("Accept", "text/plain");
  const bool kept = std::string(fnQNStack_Http_Head_Read("Accept")) == "text/plain";
  fnQNStack_Http_Head_FreeAll();
  return kept && fnQNStack_Http_Head_Read("Accept") == nullptr ? 0 : 1;
}
