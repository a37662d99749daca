// SPDX-License-Identifier: MIT
// Guards how the C++ face reads answers: to their end, in pieces, and with a
// verdict on whether what came is whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
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

TEST_F(FaceAnswer, IsWholeOrCutByWhatWasAnnouncedAndCame) {
  struct Case {
    const char *what;
    std::vector<std::string> pieces;
    bool is_reset;  // instead of closed
    Result verdict;
    std::string body;
    std::optional<int32_t> length;
    int32_t status;
  };
  const std::string ok = "HTTP/1.0 200 OK\r\n";
  const std::string interim = "HTTP/1.1 100 Continue\r\nContent-Length: 9\r\n\r\n";
  const Case cases[] = {
      {"all", {ok + "Content-Length: 4\r\n\r\nbo", "dy"}, false, Result::kDone, "body", 4, 200},
      {"less", {ok + "Content-Length: 5\r\n\r\nbody"}, false, Result::kCut, "body", 5, 200},
      {"more", {ok + "Content-Length: 3\r\n\r\nbody"}, false, Result::kDone, "body", 3, 200},
      {"long",
       {ok + "Content-Length: 100000\r\n\r\n" + std::string(100000, 'x')},
       false,
       Result::kDone,
       std::string(100000, 'x'),
       100000,
       200},
      {"no length", {ok + "\r\nbody"}, false, Result::kDone, "body", {}, 200},
      {"a word", {ok + "Content-Length: x\r\n\r\nbody"}, false, Result::kDone, "body", {}, 200},
      {"below 0", {ok + "Content-Length: -5\r\n\r\nbody"}, false, Result::kDone, "body", {}, 200},
      {"beyond all numbers",
       {ok + "Content-Length: 99999999999\r\n\r\nbody"},
       false,
       Result::kDone,
       "body",
       {},
       200},
      {"no length, reset", {ok + "\r\nbody"}, true, Result::kCut, "body", {}, 200},
      {"all, reset", {ok + "Content-Length: 4\r\n\r\nbody"}, true, Result::kDone, "body", 4, 200},
      {"no content",
       {"HTTP/1.0 204 No Content\r\nContent-Length: 9\r\n\r\n"},
       false,
       Result::kDone,
       "",
       0,
       204},
      {"behind interim answers, of which one had a length",
       {interim, interim + ok + "\r\nbody"},
       false,
       Result::kDone,
       "body",
       {},
       200},
      {"an interim answer alone", {interim}, false, Result::kCut, "", {}, 0},
      // A header's rest is no body.
      {"nothing", {}, false, Result::kCut, "", {}, 0},
      {"a part of a word", {"HTT"}, false, Result::kCut, "", {}, 0},
      {"no empty line", {ok}, false, Result::kCut, "", {}, 200},
      {"a part of a line", {ok + "Content-Le"}, false, Result::kCut, "", {}, 200},
      {"nothing, reset", {}, true, Result::kFailed, "", {}, 0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    Context context = qnstack::OpenGet("http://h/");
    std::vector<Reaction> receives;
    for (const std::string &piece : c.pieces) receives.push_back(Deliver(piece));
    receives.push_back(c.is_reset ? FailWith(ECONNRESET) : Give(0));
    network_.AddPeer(receives);
    std::string body = "before ";

    EXPECT_EQ(qnstack::ReadBody(context, body), c.verdict);
    EXPECT_EQ(qnstack::ReadBody(context, body), c.verdict) << "and stays so";

    EXPECT_EQ(body, "before " + c.body);
    EXPECT_EQ(qnstack::BodyLength(context), c.length);
    EXPECT_EQ(context->retValue, c.status);
  }
}

TEST_F(FaceAnswer, IsCutWhereTheHeapRefusesRoomForItAndFailsForALineOfItsHeader) {
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\n"), Deliver(std::string(2048, 'x')),
                    Deliver(std::string(2048, 'y')), Give(0)});
  network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\n\r\nbody"), Give(0)});
  for (const Result verdict : {Result::kCut, Result::kFailed}) {
    context_ = qnstack::OpenGet("http://h/");
    ASSERT_EQ(fnQNStack_Http_Run(context_.get()), -2) << "the request is out";
    EXPECT_EQ(RefusalsIn([&] { EXPECT_EQ(qnstack::ReadBody(context_, body_), verdict); }, 1), 1);
    EXPECT_EQ(body_, "");
  }
}

TEST_F(FaceAnswer, HasNoBodyWhereItsRequestIsAHead) {
  context_ = qnstack::OpenHead("http://h/");

  EXPECT_EQ(ReadBodyOf({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\n"), Give(0)}),
            Result::kDone);

  EXPECT_EQ(qnstack::BodyLength(context_), 0);
  EXPECT_EQ(context_->retCtxLen, 100) << "what a GET would bring";
}

// The library takes 304 for a redirect, unless the program parses by itself.
TEST_F(FaceAnswer, HasNoBodyWithStatus304) {
  network_.AddPeer({Deliver("HTTP/1.0 304 Not Modified\r\nContent-Length: 9\r\n\r\n"), Give(0)});
  while (fnQNStack_Http_Run(context_.get()) == -2) continue;
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(context_.get()), 0);

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);

  EXPECT_EQ(qnstack::BodyLength(context_), 0);
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
  for (const std::string status : {"HTTP/1.0 200 OK\r\n", "Server: without a status\r\n"}) {
    SCOPED_TRACE(status);
    network_.AddPeer({Deliver("HTTP/1.0 302 Found\r\nLocation: http://h/new\r\n"
                              "Content-Length: 100\r\n\r\n"),
                      Give(0)});
    network_.AddPeer({Deliver(status + "\r\nbody"), Give(0)});
    context_ = qnstack::OpenGet("http://h/");
    std::string body;
    EXPECT_EQ(qnstack::ReadBody(context_, body), Result::kDone);
    EXPECT_EQ(body, "body");
    EXPECT_EQ(qnstack::BodyLength(context_), std::nullopt);
    EXPECT_EQ(context_->redirectCount, 1);
    EXPECT_EQ(context_->retValue, status.starts_with("HTTP") ? 200 : 0);
  }
}

TEST_F(FaceAnswer, FailsAtTheEleventhRedirectWhoseBodyComesWithTheNextCall) {
  const std::string redirect = "HTTP/1.0 302 Found\r\nLocation: http://h/\r\n\r\n";
  for (int i = 0; i < 10; ++i) network_.AddPeer({Deliver(redirect), Give(0)});

  EXPECT_EQ(ReadBodyOf({Deliver(redirect + "body"), Give(0)}), Result::kFailed);

  EXPECT_EQ(context_->redirectCount, 11);
  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);
  EXPECT_EQ(body_, "body");
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

TEST_F(FaceAnswer, IsCountedAnewHoweverItsHandleGetsAnotherContext) {
  const std::pair<const char *, std::function<void(Context &)>> ways[] = {
      {"opened", [](Context &) {}},
      {"reset", [](Context &context) { context.reset(fnQNStack_Http_Open_Get("http://h/")); }},
      {"assigned", [](Context &context) { context = qnstack::OpenGet("http://h/"); }},
      {"let go",
       [](Context &context) {
         const Context before(context.release());
         context.reset(fnQNStack_Http_Open_Get("http://h/"));
       }},
      {"parsed in C",
       [](Context &context) {
         context.reset(fnQNStack_Http_Open_Get("http://h/"));
         while (fnQNStack_Http_Run(context.get()) == -2) continue;
         EXPECT_EQ(fnQNStack_Http_ParseAnswer(context.get()), 0);
       }},
  };
  for (const auto &[what, give] : ways) {
    SCOPED_TRACE(what);
    network_.AddPeer({Deliver("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nbody"), Give(0)});
    body_ = "";
    give(context_);
    EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kCut);
    EXPECT_EQ(body_, "body");
  }
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

TEST_F(FaceAnswer, MayBeOneThatTheProgramPutThere) {
  fnQN_MemBuffer_Printf(context_->recvBuf, "HTTP/1.0 200 OK\r\n\r\n%s", "stored");
  context_->state = QN_HTTP_COMPLETE;

  EXPECT_EQ(qnstack::ReadBody(context_, body_), Result::kDone);

  EXPECT_EQ(body_, "stored");
  EXPECT_THAT(network_.Calls(), IsEmpty());
}

TEST_F(FaceAnswer, IsWholeWhenItIsStoppedBehindAllThatWasAnnounced) {
  for (const bool is_known : {true, false}) {
    SCOPED_TRACE(is_known);
    network_.AddPeer(
        {Deliver("HTTP/1.0 200 OK\r\n"s + (is_known ? "Content-Length: 4\r\n" : "") + "\r\nbody"),
         Give(0)});
    context_ = qnstack::OpenGet("http://h/");
    EXPECT_EQ(fnQNStack_Http_Run(context_.get()), -2);
    EXPECT_EQ(fnQNStack_Http_Run(context_.get()), 0);
    qnstack::Stop(context_);
    std::string body;
    EXPECT_EQ(qnstack::ReadBody(context_, body), is_known ? Result::kDone : Result::kCut);
    EXPECT_EQ(body, "body");
  }
}

TEST_F(FaceAnswer, ComesRawWithItsHeader) {
  const std::string answer = "HTTP/1.0 200 OK\r\nContent-Length: 9\r\n\r\nbody";
  for (const bool is_reset : {false, true}) {
    SCOPED_TRACE(is_reset);
    network_.AddPeer({Deliver(answer), is_reset ? FailWith(ECONNRESET) : Give(0)});
    context_ = qnstack::OpenGet("http://h/");
    std::string raw;
    EXPECT_EQ(qnstack::ReadAnswer(context_, raw, 4), Result::kData);
    EXPECT_EQ(qnstack::ReadAnswer(context_, raw), is_reset ? Result::kCut : Result::kDone)
        << "no length is looked at";
    EXPECT_EQ(raw, answer);
  }
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

}  // namespace
