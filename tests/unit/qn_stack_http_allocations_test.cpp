// SPDX-License-Identifier: MIT
// Guards what an exchange asks of the heap from the opening to the freeing of
// its context.
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/captured_output.h"
#include "support/failing_heap.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;

constexpr size_t kChunk = 2048;

// The context; two buffers and their storage; URL, host, path and method; the
// areas for two formatted pieces of the request; the seven lines of the
// response's header; its media type.
constexpr int kAllocations = 1 + 2 * 2 + 4 + 2 + 7 + 1;

// A usual answer.
std::string Answer(size_t body_bytes) {
  return "HTTP/1.0 200 OK\r\n"
         "Date: Mon, 06 Jan 2020 10:00:00 GMT\r\n"
         "Server: origin\r\n"
         "Content-Type: application/octet-stream\r\n"
         "Content-Length: " +
         std::to_string(body_bytes) +
         "\r\n"
         "Connection: close\r\n"
         "\r\n" +
         std::string(body_bytes, 'x');
}

class QnStackHttpAllocations : public qntest::TransferTest {
 protected:
  // Opens, reads to the end and frees; gives the allocations that took.
  int AllocationsOfAGet(size_t body_bytes) {
    const std::string answer = Answer(body_bytes);
    for (size_t sent = 0; sent < answer.size(); sent += kChunk) {
      network_.Script("recv", Deliver(answer.substr(sent, kChunk)));
    }
    network_.Script("recv", Give(0));
    char room[4096];
    size_t delivered = 0;
    int allocations = 0;
    OutputOf([&] {
      const FailingHeap heap(FailingHeap::kCountOnly);
      Context ctx(fnQNStack_Http_Open_Get("http://h/message"));
      int result = -2;
      while (result != 0 && result != -1) {
        result = fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room);
        if (result > 0) delivered += static_cast<size_t>(result);
      }
      ctx.reset();
      allocations = heap.Allocations();
    });
    EXPECT_EQ(delivered, body_bytes);
    return allocations;
  }
};

TEST_F(QnStackHttpAllocations, OfAGetAreTheSameThroughAProxy) {
  EXPECT_EQ(AllocationsOfAGet(1024), kAllocations);
  fnQNStack_Http_SetProxy("gw", 8080);
  EXPECT_EQ(AllocationsOfAGet(1024), kAllocations);
}

// The first 2048 bytes have room; ten chunks more pass the mark at which
// receiving pauses, and from then on the room is there.
TEST_F(QnStackHttpAllocations, OfALongGetAreOneMoreForEachChunkUpToThePause) {
  EXPECT_EQ(AllocationsOfAGet(300 * 1024), kAllocations + 10);
  EXPECT_EQ(AllocationsOfAGet(3000 * 1024), kAllocations + 10);
}

}  // namespace
