// SPDX-License-Identifier: MIT
// What a client of this kind must make of the bytes that a peer sent before it
// ended the connection: written down from the promise, without the library.
#ifndef QNSTACK_TESTS_HOSTILE_ANSWER_MODEL_H
#define QNSTACK_TESTS_HOSTILE_ANSWER_MODEL_H

#include <cstdint>
#include <string>

namespace qntest {

struct ModelAnswer {
  std::int32_t status = 0;
  std::string location;  // of the last line that names one; "" for none
  std::string body;      // all that stands behind the header, or behind its last complete line
};

ModelAnswer ModelOf(const std::string &received);

}  // namespace qntest

#endif
