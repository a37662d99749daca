// SPDX-License-Identifier: MIT
// How qnget comes by the header lines that decide what is kept: in pieces, over
// pauses of the library, behind redirects and interim answers. And that a hit
// needs no network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_cache_folder.h"
#include "qnget_program.h"
#include "qnget_traced.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// The library pauses when so many bytes of a header are unread.
constexpr std::size_t kPause = 20480;

const std::string kForbidden = "Cache-Control: no-cache\r\n";

// Header lines of about so many bytes that say nothing.
std::string Padding(std::size_t bytes) {
  std::string lines;
  while (lines.size() < bytes) lines += "X-Padding: " + std::string(87, 'p') + "\r\n";
  return lines;
}

class QngetCacheHeader : public CacheFolder {
 protected:
  // What qnget says of the cache after an answer that comes in these pieces.
  std::string Told(const std::vector<std::string> &pieces) const {
    ConnectionScript script{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n")};
    for (const std::string &piece : pieces) script.push_back(SendBytes(piece));
    script.push_back(HalfClose());
    script.push_back(ReadToEnd());
    ScriptedServer server({script});
    return Fetch({"-i", LocalUrl(server.port())}).error;
  }
};

TEST_F(QngetCacheHeader, IsReadFromItsFirstLine) {
  EXPECT_THAT(Told({kFresh, Padding(3 * kPause), "\r\n", "abc"}),
              HasSubstr("cache: stored, fresh until "));
}

TEST_F(QngetCacheHeader, IsReadToItsLastLine) {
  EXPECT_THAT(Told({Padding(3 * kPause), kFresh + "\r\n", "abc"}),
              HasSubstr("cache: stored, fresh until "));
}

TEST_F(QngetCacheHeader, IsReadBetweenPauses) {
  EXPECT_THAT(Told({kFresh, Padding(2 * kPause), kForbidden, Padding(2 * kPause), "\r\n", "abc"}),
              EndsWith("cache: not stored: no-cache\n"));
}

// The line begins before the mark and ends behind it, wherever a pause falls.
TEST_F(QngetCacheHeader, IsReadWhereALineLiesAcrossAPause) {
  const std::string lead = Padding(kPause - 1500);

  EXPECT_THAT(Told({lead + "X: " + std::string(6000, 'y') + "\r\n" + kFresh + "\r\n", "abc"}),
              HasSubstr("cache: stored, fresh until "));
}

TEST_F(QngetCacheHeader, IsReadInPieces) {
  EXPECT_THAT(Told({"Cache-Con", "trol: max", "-age=6", "00\r", "\n\r", "\nabc"}),
              HasSubstr("cache: stored, fresh until "));
}

TEST_F(QngetCacheHeader, DoesNotReachIntoTheBody) {
  EXPECT_THAT(Told({kFresh + "\r\n" + kForbidden + kForbidden}),
              HasSubstr("cache: stored, fresh until "));
}

class QngetCacheRedirect : public CacheFolder {
 protected:
  // What qnget says of the cache when a redirect and its target have such lines.
  std::string Told(const std::string &redirect_lines, const std::string &lines,
                   const std::string &status = "302 Found") {
    ScriptedServer target({AnswerWith(Answer("abc", lines))});
    const std::string location = "Location: " + LocalUrl(target.port()) + "\r\n";
    ScriptedServer server({AnswerWith(Answer("elsewhere", redirect_lines + location, status))});
    url_ = LocalUrl(server.port());
    return Fetch({"-i", url_}).error;
  }

  std::string url_;
};

TEST_F(QngetCacheRedirect, ForbidsToo) {
  EXPECT_THAT(Told(kForbidden, kFresh), EndsWith("\ncache: not stored: redirect 302: no-cache\n"));
}

TEST_F(QngetCacheRedirect, DoesNotAllowWhatItsTargetDoesNot) {
  EXPECT_THAT(Told(kFresh, ""), EndsWith("\ncache: not stored: it has no lifetime\n"));
}

TEST_F(QngetCacheRedirect, NeedsALifetimeOfItsOwn) {
  EXPECT_THAT(Told("", kFresh),
              EndsWith("\ncache: not stored: redirect 302: it has no lifetime\n"));
}

TEST_F(QngetCacheRedirect, LastsADayIfItIsPermanent) {
  EXPECT_THAT(Told("", kFresh, "301 Moved"), HasSubstr("\ncache: stored, fresh until "));
}

TEST_F(QngetCacheRedirect, CountsWhereItsHeaderCameOverPauses) {
  EXPECT_THAT(Told(kForbidden + Padding(3 * kPause), kFresh), EndsWith(": no-cache\n"));
}

TEST_F(QngetCacheRedirect, IsKeptUnderTheUrlThatWasGiven) {
  Told(kFresh, kFresh);

  EXPECT_EQ(Fetch({url_}).output, "abc");
}

// The cookie that it sets is not known when the next call begins.
TEST_F(QngetCacheRedirect, MayNotSetWhatItsTargetVariesWith) {
  EXPECT_THAT(Told("Set-Cookie: a=b\r\n" + kFresh, "Vary: cookie\r\n" + kFresh),
              EndsWith("\ncache: not stored: Vary: Cookie, and a cookie was sent\n"));
}

TEST_F(QngetCacheHeader, OfAnInterimAnswerDoesNotCount) {
  const std::string interim = "HTTP/1.1 100 Continue\r\n" + kForbidden + "\r\n";
  ScriptedServer server({AnswerWith(interim + Answer("abc", kFresh))});

  EXPECT_THAT(Fetch({"-i", LocalUrl(server.port())}).error,
              HasSubstr("cache: stored, fresh until "));
}

TEST_F(QngetCacheHeader, OfAnEarlierTryDoesNotCount) {
  ScriptedServer server({AnswerWith(""), AnswerWith(Answer("abc", kFresh))});

  EXPECT_THAT(Fetch({"-i", "--retry", "1", "--retry-delay", "0", LocalUrl(server.port())}).error,
              HasSubstr("cache: stored, fresh until "));
}

using QngetCacheHit = CacheFolder;

// The network calls of qnget --cache.
std::string NetworkCalls(const std::string &root, const std::string &url) {
  const ScratchFolder folder;
  RunTraced({"-e", "trace=network", "-o", folder.path("calls")}, {"--root", root, "--cache", url});
  return folder.read("calls");
}

TEST_F(QngetCacheHit, NeedsNoSocket) {
  ScriptedServer server({AnswerWith(Answer("abc", kFresh))});
  const std::string url = LocalUrl(server.port());
  if (const std::string problem = ProblemOfTracing(); !problem.empty()) GTEST_SKIP() << problem;
  ASSERT_THAT(NetworkCalls(root_, url), HasSubstr("socket("));

  const std::string second = NetworkCalls(root_, url);

  EXPECT_THAT(second, HasSubstr("exited with 0"));
  EXPECT_THAT(second, Not(HasSubstr("socket")));
  EXPECT_THAT(second, Not(HasSubstr("connect")));
}

}  // namespace
}  // namespace qntest
