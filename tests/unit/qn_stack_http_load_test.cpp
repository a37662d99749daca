// SPDX-License-Identifier: MIT
// Guards the two loaders, which take a prepared request or a stored answer
// from a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/failing_heap.h"
#include "support/http_stack.h"
#include "support/recording_file_port.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kMostBytes = 4000;

struct ContentLoader {
  const char *topic;
  int32_t (*load)(QNHttpCtx *ctx, const char *name);
  QNMemBuffer *QNHttpCtx::*filled;
  QNMemBuffer *QNHttpCtx::*other;
};

std::ostream &operator<<(std::ostream &out, const ContentLoader &loader) {
  return out << loader.topic;
}

class QnStackHttpLoad : public testing::TestWithParam<ContentLoader> {
 protected:
  QnStackHttpLoad() { FilePort().Reset(); }
  ~QnStackHttpLoad() override { FilePort().Reset(); }

  int32_t Load(const char *name) { return GetParam().load(ctx_.get(), name); }
  std::string Filled() const { return UnreadOf(ctx_.get()->*GetParam().filled); }
  std::string Other() const { return UnreadOf(ctx_.get()->*GetParam().other); }
  QNMemBuffer *FilledBuffer() const { return ctx_.get()->*GetParam().filled; }

  Context ctx_{fnQNStack_Http_Open_Get("http://h/x")};
};

TEST_P(QnStackHttpLoad, AppendsTheFileToItsBufferAloneInOneCall) {
  const std::string bytes("HTTP/1.0 200 OK\r\n\r\nab\0c", 23);
  FilePort().files().Write("/saved", bytes);
  FilePort().files().Write("/byte", "x");
  EXPECT_EQ(Load("/byte"), 0);
  EXPECT_EQ(Load("/saved"), 0);
  EXPECT_EQ(Filled(), "x" + bytes);
  EXPECT_EQ(Other(), "");
  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("ReadFromFile(/byte, 4000)", "ReadFromFile(/saved, 4000)"));
}

TEST_P(QnStackHttpLoad, TakesFourThousandBytesAtMostWhateverThePortReports) {
  FilePort().files().Write("/exact", std::string(kMostBytes, 'e'));
  FilePort().files().Write("/long", std::string(kMostBytes, 'a') + "b");
  EXPECT_EQ(Load("/exact"), 0);
  EXPECT_EQ(Load("/long"), 0);
  FilePort().Report("ReadFromFile", kMostBytes + 1);
  EXPECT_EQ(Load("/exact"), 0);
  EXPECT_EQ(Filled(), std::string(kMostBytes, 'e') + std::string(kMostBytes, 'a') +
                          std::string(kMostBytes, 'e'));
}

TEST_P(QnStackHttpLoad, FileThatGivesNothingIsMinusOne) {
  FilePort().files().Write("/empty", "");
  FilePort().files().Write("/unreadable", "x");
  EXPECT_EQ(Load("/empty"), -1);
  EXPECT_EQ(Load("/missing"), -1);
  FilePort().Fail("ReadFromFile");
  EXPECT_EQ(Load("/unreadable"), -1);
  EXPECT_EQ(Filled(), "");
  EXPECT_EQ(Other(), "");
}

TEST_P(QnStackHttpLoad, RefusedAreaIsMinusOneWithoutReading) {
  FilePort().files().Write("/saved", "x");
  EXPECT_EQ(WithRefusal(1, [&] { return Load("/saved"); }), -1);
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
  EXPECT_EQ(Filled(), "");
}

TEST_P(QnStackHttpLoad, RefusedGrowthIsMinusOneAndLeavesTheBuffer) {
  FilePort().files().Write("/saved", "0123456789");
  QNMemBuffer *buffer = FilledBuffer();
  qntest::Append(buffer, std::string(buffer->capacity, 'x'));
  char taken[3];
  fnQN_MemBuffer_Read(buffer, taken, 3);
  const QNMemBuffer before = *buffer;
  // The first is the area for the file.
  EXPECT_EQ(WithRefusal(2, [&] { return Load("/saved"); }), -1);
  EXPECT_EQ(buffer->data, before.data);
  EXPECT_EQ(buffer->capacity, before.capacity);
  EXPECT_EQ(buffer->length, before.length);
  EXPECT_EQ(buffer->cursor, before.cursor);
  EXPECT_EQ(buffer->total, before.total);
}

TEST_P(QnStackHttpLoad, GivesItsAreaBack) {
  FilePort().files().Write("/saved", "x");
  for (const char *name : {"/saved", "/missing"}) {
    const qntest::FailingHeap heap(qntest::FailingHeap::kCountOnly);
    Load(name);
    EXPECT_EQ(heap.Allocations(), heap.Frees()) << name;
  }
}

std::string LoaderTopic(const testing::TestParamInfo<ContentLoader> &info) {
  return info.param.topic;
}

INSTANTIATE_TEST_SUITE_P(From, QnStackHttpLoad,
                         testing::Values(ContentLoader{"Request", fnQNStack_Http_LoadHeadFromFile,
                                                       &QNHttpCtx::sendBuf, &QNHttpCtx::recvBuf},
                                         ContentLoader{"Answer", fnQNStack_Http_LoadReponseFromFile,
                                                       &QNHttpCtx::recvBuf, &QNHttpCtx::sendBuf}),
                         LoaderTopic);

}  // namespace
