// SPDX-License-Identifier: MIT
// Guards how the C++ face reads answers: to their end, in pieces, and with a
// verdict on whether what came is whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"
#include "support/transfer_test.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using qnstack::Context;
using qnstack::Result;
using qnstack::State;
using testing::IsEmpty;

static_assert(qnstack::ResultOf(-1) == Result::kFailed);
static_assert(qnstack::ResultOf(-2) == Result::kAgain);
static_assert(qnstack::ResultOf(-3) == Result::kFailed);
static_assert(qnstack::ResultOf(0) == Result::kDone);
static_assert(qnstack::ResultOf(1) == Result::kData);

using Read = decltype(&qnstack::ReadBody);
static_assert(std::is_invocable_v<Read, Context &, std::string &, std::size_t>);
static_assert(!std::is_invocable_v<Read, const Context &, std::string &, std::size_t>);
static_assert(
    !std::is_invocable_v<decltype(&qnstack::ReadAnswer), const Context &, std::string &, size_t>);
static_assert(!std::is_invocable_v<decltype(&qnstack::ReadHead), const Context &>);

class FaceAnswer : public qntest::TransferTest {
 protected:
  // Reads the body of the answer that arrives so.
  Result ReadBodyOf(const std::vector<Reaction> &receives) {
    network_.AddPeer(receives);
    return qnstack::ReadBody(context_, body_);
  }

  Context context_ = qnstack::OpenGet("http://h/");
  std::string body_;
};

TEST_F(FaceAnswer, IsWholeWhenAllCameThatWasAnnounced) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbo"), Deliver("dy"),
                        Give(0)}),
            Result::kDone);

  EXPECT_EQ(body_, "body");
  EXPECT_EQ(qnstack::BodyLength(context_), 4);
  EXPECT_EQ(qnstack::StateOf(context_), State::kComplete);
}

TEST_F(FaceAnswer, IsCutWhenLessCameThanWasAnnounced) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nbody"), Give(0)}),
            Result::kCut);

  EXPECT_EQ(body_, "body") << "what came is there";
  EXPECT_EQ(context_->retValue, 200);
}

TEST_F(FaceAnswer, IsHandedOutWhereMoreCameThanWasAnnounced) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nbody"), Give(0)}),
            Result::kDone);

  EXPECT_EQ(body_, "body");
  EXPECT_EQ(qnstack::BodyLength(context_), 3);
}

TEST_F(FaceAnswer, MayHaveALengthThatNobodyKnows) {
  for (const char *line :
       {"", "Content-Length: x\r\n", "Content-Length: -5\r\n", "Content-Length: 99999999999\r\n"}) {
    SCOPED_TRACE(line);
    Context context = qnstack::OpenGet("http://h/");
    std::string body = "before ";
    network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n"s + line + "\r\nbody"), Give(0)});

    EXPECT_EQ(qnstack::ReadBody(context, body), Result::kDone);

    EXPECT_EQ(body, "before body");
    EXPECT_EQ(qnstack::BodyLength(context), std::nullopt);
  }
}

TEST_F(FaceAnswer, IsCutWhenTheConnectionBreaksAndNobodyKnowsItsLength) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\n\r\nbody"), FailWith(ECONNRESET)}),
            Result::kCut);

  EXPECT_EQ(body_, "body");
  EXPECT_EQ(qnstack::StateOf(context_), State::kComplete);
}

TEST_F(FaceAnswer, IsWholeWhenTheConnectionBreaksBehindIt) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbody"),
                        FailWith(ECONNRESET)}),
            Result::kDone);
}

TEST_F(FaceAnswer, IsCutWhereTheHeapRefusesRoomForIt) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\n"), Deliver(std::string(2048, 'x')),
                    Deliver(std::string(2048, 'y')), Give(0)});
  ASSERT_EQ(fnQNStack_Http_Run(context_.get()), -2) << "the request is out";
  const FailingHeap heap(1);

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kCut);

  EXPECT_EQ(body_, "");
}

TEST_F(FaceAnswer, FailsWhereTheHeapRefusesALineOfItsHeader) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\nbody"), Give(0)});
  ASSERT_EQ(fnQNStack_Http_Run(context_.get()), -2) << "the request is out";
  const FailingHeap heap(1);

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kFailed);

  EXPECT_EQ(body_, "");
}

TEST_F(FaceAnswer, HasNoBodyWhereItsRequestIsAHead) {
  context_ = qnstack::OpenHead("http://h/");

  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\n"), Give(0)}),
            Result::kDone);

  EXPECT_EQ(qnstack::BodyLength(context_), 0);
  EXPECT_EQ(context_->retCtxLen, 100) << "what a GET would bring";
}

TEST_F(FaceAnswer, HasNoBodyWithStatus204) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 204 No Content\r\nContent-Length: 9\r\n\r\n"), Give(0)}),
            Result::kDone);

  EXPECT_EQ(qnstack::BodyLength(context_), 0);
}

// The library takes 304 for a redirect, unless the program parses by itself.
TEST_F(FaceAnswer, HasNoBodyWithStatus304) {
  network_.AddPeer({Deliver("HTTP/1.0 304 Not Modified\r\nContent-Length: 9\r\n\r\n"), Give(0)});
  while (fnQNStack_Http_Run(context_.get()) == -2) continue;
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(context_.get()), 0);

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);

  EXPECT_EQ(qnstack::BodyLength(context_), 0);
}

TEST_F(FaceAnswer, IsCutWithinItsHeader) {
  for (const char *header : {"", "HTT", "HTTP/1.0 200 OK\r\n", "HTTP/1.0 200 OK\r\nContent-Le"}) {
    SCOPED_TRACE(header);
    Context context = qnstack::OpenGet("http://h/");
    std::vector<Reaction> receives = {Give(0)};
    if (*header != '\0') receives.insert(receives.begin(), Deliver(header));
    network_.AddPeer(receives);

    EXPECT_EQ(qnstack::ReadBody(context, body_), Result::kCut);
    EXPECT_EQ(qnstack::ReadBody(context, body_), Result::kCut) << "and stays so";

    EXPECT_THAT(body_, IsEmpty()) << "a header's rest is no body";
  }
}

TEST_F(FaceAnswer, IsWholeWhereverTheNetworkCutIt) {
  const std::string answer = "HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbody";
  for (std::size_t i = 1; i < answer.size(); ++i) {
    SCOPED_TRACE(i);
    Context context = qnstack::OpenGet("http://h/");
    std::string body;
    network_.AddPeer({Deliver(answer.substr(0, i)), Deliver(answer.substr(i)), Give(0)});

    EXPECT_EQ(qnstack::ReadBody(context, body), Result::kDone);
    EXPECT_EQ(body, "body");
  }
}

// Receiving pauses above 20480 bytes: all lines but the empty one have been
// taken, and are squeezed out when that one comes.
TEST_F(FaceAnswer, IsWholeWhenItsEmptyLineComesAlone) {
  std::vector<Reaction> receives = {Deliver("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n")};
  for (int i = 0; i < 10; ++i) receives.push_back(Deliver("X: " + std::string(2043, 'x') + "\r\n"));
  receives.push_back(Deliver("\r\nbody"));
  receives.push_back(Give(0));

  EXPECT_EQ(ReadBodyOf(receives), Result::kDone);

  EXPECT_EQ(body_, "body");
}

TEST_F(FaceAnswer, ForgetsLengthAndStatusOfARedirect) {
  network_.AddPeer({Deliver("HTTP/1.0 302 Found\r\nLocation: http://h/new\r\n"
                            "Content-Length: 100\r\n\r\n"),
                    Give(0)});

  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\n\r\nbody"), Give(0)}), Result::kDone);

  EXPECT_EQ(body_, "body");
  EXPECT_EQ(qnstack::BodyLength(context_), std::nullopt);
  EXPECT_EQ(context_->redirectCount, 1);
}

TEST_F(FaceAnswer, IsNotFollowedForTheStatusOfTheOneBefore) {
  network_.AddPeer({Deliver("HTTP/1.0 302 Found\r\nLocation: http://h/new\r\n\r\n"), Give(0)});

  EXPECT_EQ(ReadBodyOf({Deliver("Server: s\r\n\r\nbody"), Give(0)}), Result::kDone);

  EXPECT_EQ(context_->redirectCount, 1);
  EXPECT_EQ(context_->retValue, 0) << "it had no status line";
}

TEST_F(FaceAnswer, FailsAtTheEleventhRedirectWhoseBodyComesWithTheNextCall) {
  const std::string redirect = "HTTP/1.0 302 Found\r\nLocation: http://h/\r\n\r\n";
  for (int i = 0; i < 10; ++i) network_.AddPeer({Deliver(redirect), Give(0)});

  EXPECT_EQ(ReadBodyOf({Deliver(redirect + "body"), Give(0)}), Result::kFailed);

  EXPECT_EQ(context_->redirectCount, 11);
  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);
  EXPECT_EQ(body_, "body");
}

TEST_F(FaceAnswer, ComesBehindInterimOnes) {
  const std::string interim = "HTTP/1.1 100 Continue\r\nContent-Length: 9\r\n\r\n";

  EXPECT_EQ(
      ReadBodyOf({Deliver(interim), Deliver(interim + "HTTP/1.0 200 OK\r\n\r\nbody"), Give(0)}),
      Result::kDone);

  EXPECT_EQ(body_, "body");
  EXPECT_EQ(context_->retValue, 200);
  EXPECT_EQ(qnstack::BodyLength(context_), std::nullopt) << "the length was the interim one's";
}

TEST_F(FaceAnswer, IsCutWhereOnlyAnInterimOneCame) {
  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.1 100 Continue\r\n\r\n"), Give(0)}), Result::kCut);

  EXPECT_EQ(context_->retValue, 0);
}

TEST_F(FaceAnswer, IsReadInPiecesWithOneVerdict) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 11\r\n\r\n0123456789"), Give(0)});

  EXPECT_EQ(qnstack::ReadBody(context_, body_, 0), Result::kData);
  EXPECT_EQ(network_.Calls().size(), 0U) << "nothing is asked for";
  EXPECT_EQ(qnstack::ReadBody(context_, body_, 4), Result::kData);
  EXPECT_EQ(body_, "0123");
  EXPECT_EQ(qnstack::ReadBody(context_, body_, 6), Result::kData);
  EXPECT_EQ(body_, "0123456789");

  EXPECT_EQ(qnstack::ReadBody(context_, body_, 1), Result::kCut);
}

// A handle that has read an answer to its end, and is then given another context.
class FaceNextAnswer : public FaceAnswer {
 protected:
  static constexpr const char *kAnswer = "HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nbody";

  FaceNextAnswer() { EXPECT_EQ(ReadBodyOf({Deliver(kAnswer), Give(0)}), Result::kCut); }
};

TEST_F(FaceNextAnswer, IsCountedAnewWhenTheHandleIsReset) {
  context_.reset(fnQNStack_Http_Open_Get("http://h/"));

  EXPECT_EQ(ReadBodyOf({Deliver(kAnswer), Give(0)}), Result::kCut);
}

TEST_F(FaceNextAnswer, IsCountedAnewWhenTheHandleIsAssigned) {
  context_ = qnstack::OpenGet("http://h/");

  EXPECT_EQ(ReadBodyOf({Deliver(kAnswer), Give(0)}), Result::kCut);
}

TEST_F(FaceNextAnswer, IsCountedAnewWhenTheHandleLetItsContextGo) {
  const Context first(context_.release());
  context_.reset(fnQNStack_Http_Open_Get("http://h/"));

  EXPECT_EQ(ReadBodyOf({Deliver(kAnswer), Give(0)}), Result::kCut);
}

TEST_F(FaceNextAnswer, IsCountedAnewWhereItsHeaderWasParsedInC) {
  network_.AddPeer({Deliver(kAnswer), Give(0)});
  context_.reset(fnQNStack_Http_Open_Get("http://h/"));
  while (fnQNStack_Http_Run(context_.get()) == -2) continue;
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(context_.get()), 0);

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kCut);
}

TEST_F(FaceAnswer, IsCountedAlongWhenItsContextMoves) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbody"), Give(0)});
  ASSERT_EQ(qnstack::ReadBody(context_, body_, 2), Result::kData);

  Context moved = std::move(context_);

  EXPECT_EQ(qnstack::ReadBody(moved, body_), Result::kDone);
  EXPECT_EQ(body_, "body");
}

TEST_F(FaceAnswer, CanBeLookedAtByItsHeaderFirst) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n"
                            "Content-Length: 4\r\n\r\nbody"),
                    Give(0)});
  EXPECT_EQ(qnstack::BodyLength(context_), std::nullopt) << "nothing has been read";

  EXPECT_EQ(qnstack::ReadHead(context_), Result::kDone);
  EXPECT_EQ(context_->retValue, 200);
  EXPECT_STREQ(context_->retCtxType, "text/plain");
  EXPECT_EQ(qnstack::BodyLength(context_), 4);
  EXPECT_EQ(qnstack::ReadHead(context_), Result::kDone) << "it has been read before";

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);
  EXPECT_EQ(body_, "body") << "not a byte of it was taken before";
}

TEST_F(FaceAnswer, IsCheckedWhereItsHeaderWasParsedInC) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nbody"), Give(0)});
  while (fnQNStack_Http_Run(context_.get()) == -2) continue;
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(context_.get()), 0);

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kCut);

  EXPECT_EQ(body_, "body");
}

TEST_F(FaceAnswer, MayBeOneThatTheProgramPutThere) {
  fnQN_MemBuffer_Printf(context_->recvBuf, "HTTP/1.0 200 OK\r\n\r\n%s", "stored");
  context_->state = QN_HTTP_COMPLETE;

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);

  EXPECT_EQ(body_, "stored");
  EXPECT_THAT(network_.Calls(), IsEmpty());
}

// What has come of an answer when its context is stopped.
class FaceStoppedAnswer : public FaceAnswer {
 protected:
  Result ReadStopped(const std::string &answer) {
    network_.AddPeer({Deliver(answer), Give(0)});
    EXPECT_EQ(fnQNStack_Http_Run(context_.get()), -2);
    EXPECT_EQ(fnQNStack_Http_Run(context_.get()), 0);
    qnstack::Stop(context_);
    return qnstack::ReadBody(context_, body_);
  }
};

TEST_F(FaceStoppedAnswer, IsWholeWithAllThatWasAnnounced) {
  EXPECT_EQ(ReadStopped("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbody"), Result::kDone);
}

TEST_F(FaceStoppedAnswer, IsCutWhereNobodyKnowsItsLength) {
  EXPECT_EQ(ReadStopped("HTTP/1.0 200 OK\r\n\r\nbody"), Result::kCut);

  EXPECT_EQ(body_, "body");
}

TEST_F(FaceAnswer, ComesRawWithItsHeader) {
  const std::string answer = "HTTP/1.0 200 OK\r\nContent-Length: 9\r\n\r\nbody";
  network_.AddPeer({Deliver(answer), Give(0)});
  std::string raw;

  EXPECT_EQ(qnstack::ReadAnswer(context_, raw, 4), Result::kData);
  EXPECT_EQ(qnstack::ReadAnswer(context_, raw), Result::kDone) << "no length is looked at";

  EXPECT_EQ(raw, answer);
}

TEST_F(FaceAnswer, IsCutRawWhenTheConnectionBreaks) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\nbody"), FailWith(ECONNRESET)});

  EXPECT_EQ(qnstack::ReadAnswer(context_, body_), Result::kCut);

  EXPECT_EQ(body_, "HTTP/1.0 200 OK\r\n\r\nbody");
}

TEST_F(FaceAnswer, FailsByTheState) {
  EXPECT_EQ(ReadBodyOf({FailWith(ECONNRESET)}), Result::kFailed);
  EXPECT_EQ(qnstack::StateOf(context_), State::kReceiveFailed);

  context_ = qnstack::OpenGet("http://unknown/");
  EXPECT_EQ(qnstack::ReadAnswer(context_, body_), Result::kFailed);
  EXPECT_EQ(qnstack::StateOf(context_), State::kResolveFailed);
  EXPECT_THAT(body_, IsEmpty());
}

TEST_F(FaceAnswer, FailsWithoutAContext) {
  Context none = qnstack::OpenGet(nullptr);

  EXPECT_EQ(qnstack::ReadHead(none), Result::kFailed);
  EXPECT_EQ(qnstack::ReadBody(none, body_), Result::kFailed);
  EXPECT_EQ(qnstack::ReadAnswer(none, body_), Result::kFailed);
  EXPECT_EQ(qnstack::BodyLength(none), std::nullopt);
}

TEST_F(FaceAnswer, TakesThePostedBodyAlong) {
  const std::string posted = "a\0b"s;
  context_ = qnstack::OpenPost("http://h/", posted, "text/plain");

  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\n\r\n"), Give(0)}), Result::kDone);

  EXPECT_THAT(network_.Sent(), testing::StartsWith("POST / HTTP/1.0\r\n"));
  EXPECT_THAT(network_.Sent(), testing::EndsWith("\r\n\r\na\0b"s));
}

TEST_F(FaceAnswer, MayBeLong) {
  const std::string body(100000, 'x');
  std::vector<Reaction> receives = {Deliver("HTTP/1.0 200 OK\r\nContent-Length: 100000\r\n\r\n")};
  for (std::size_t at = 0; at < body.size(); at += 2048) {
    receives.push_back(Deliver(body.substr(at, 2048)));
  }
  receives.push_back(Give(0));

  EXPECT_EQ(ReadBodyOf(receives), Result::kDone);

  EXPECT_EQ(body_, body);
}

}  // namespace
