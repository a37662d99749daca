// Guards what an exchange asks of the heap: so many allocations from the
// opening to the freeing of a context, and no more.
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/captured_output.h"
#include "support/failing_heap.h"
#include "support/transfer_test.h"

namespace {

using qntest::Context;
using qntest::Deliver;
using qntest::FailingHeap;
using qntest::Give;
using qntest::OutputOf;

constexpr int kMostAllocations = 12;

// A usual answer with a body of 1 KB.
std::string Answer() {
  return "HTTP/1.0 200 OK\r\n"
         "Date: Mon, 06 Jan 2020 10:00:00 GMT\r\n"
         "Server: origin\r\n"
         "Content-Type: application/octet-stream\r\n"
         "Content-Length: 1024\r\n"
         "Connection: close\r\n"
         "\r\n" +
         std::string(1024, 'x');
}

class QnStackHttpAllocations : public qntest::TransferTest {
 protected:
  // Opens, reads to the end and frees; gives the allocations that took.
  int AllocationsOfAGet() {
    network_.Script("recv", {Deliver(Answer()), Give(0)});
    char room[4096];
    int delivered = 0;
    int allocations = 0;
    OutputOf([&] {
      const FailingHeap heap(FailingHeap::kCountOnly);
      Context ctx(fnQNStack_Http_Open_Get("http://h/message"));
      int result = -2;
      while (result != 0 && result != -1) {
        result = fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room);
        if (result > 0) delivered += result;
      }
      ctx.reset();
      allocations = heap.Allocations();
    });
    EXPECT_EQ(delivered, 1024);
    return allocations;
  }
};

TEST_F(QnStackHttpAllocations, OfAGetAreAtMostSoMany) {
  EXPECT_LE(AllocationsOfAGet(), kMostAllocations);
}

TEST_F(QnStackHttpAllocations, OfAGetThroughAProxyAreAtMostSoMany) {
  fnQNStack_Http_SetProxy("gw", 8080);
  EXPECT_LE(AllocationsOfAGet(), kMostAllocations);
}

}  // namespace
