// SPDX-License-Identifier: MIT
// How qnget comes by the header lines that decide what is kept: in pieces, over
// pauses of the library, behind redirects and interim answers. And that a hit
// needs no network.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "qnget_root_folder.h"
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
    return ToldOf({script});
  }
};

const char *const kStored = "\ncache: stored, fresh until ";

TEST_F(QngetCacheHeader, IsReadFromItsFirstLineToItsLastAndNoFurther) {
  const std::string padding = Padding(3 * kPause);
  // A line that begins before the mark and ends behind it, wherever a pause falls.
  const std::string across = Padding(kPause - 1500) + "X: " + std::string(6000, 'y') + "\r\n";
  const std::vector<std::string> answers[] = {
      {kFresh, padding, "\r\n", "abc"},
      {padding, kFresh + "\r\n", "abc"},
      {across + kFresh + "\r\n", "abc"},
      {"Cache-Con", "trol: max", "-age=6", "00\r", "\n\r", "\nabc"},
      {kFresh + "\r\n" + kForbidden + kForbidden},
  };
  for (const std::vector<std::string> &pieces : answers) {
    EXPECT_THAT(Told(pieces), HasSubstr(kStored)) << pieces.front().substr(0, 40);
  }
}

TEST_F(QngetCacheHeader, IsReadBetweenPauses) {
  EXPECT_THAT(Told({kFresh, Padding(2 * kPause), kForbidden, Padding(2 * kPause), "\r\n", "abc"}),
              EndsWith("cache: not stored: no-cache\n"));
}

TEST_F(QngetCacheHeader, OfAnInterimAnswerOrAnEarlierTryDoesNotCount) {
  const std::string interim = "HTTP/1.1 100 Continue\r\n" + kForbidden + "\r\n";
  const ConnectionScript fresh = AnswerWith(Answer("abc", kFresh));

  EXPECT_THAT(ToldOf({AnswerWith(interim + Answer("abc", kFresh))}), HasSubstr(kStored));
  EXPECT_THAT(RunOn({AnswerWith(""), fresh},
                    Rooted({"--cache", "-i", "--retry", "1", "--retry-delay", "0", kUrl}))
                  .error,
              HasSubstr(kStored));
}

class QngetCacheRedirect : public CacheFolder {
 protected:
  // What qnget says of the cache when a redirect and its target have such lines.
  std::string Told(const std::string &redirect_lines, const std::string &lines,
                   const std::string &status = "302 Found") const {
    return ToldOf({AnswerWith(Answer("elsewhere", redirect_lines + "Location: /t\r\n", status)),
                   AnswerWith(Answer("abc", lines))});
  }
};

TEST_F(QngetCacheRedirect, ForbidsToo) {
  EXPECT_THAT(Told(kForbidden, kFresh), EndsWith("\ncache: not stored: redirect 302: no-cache\n"));
  EXPECT_THAT(Told(kForbidden + Padding(3 * kPause), kFresh), EndsWith(": no-cache\n"));
}

TEST_F(QngetCacheRedirect, NeedsALifetimeAsItsTargetDoesUnlessItIsPermanent) {
  EXPECT_THAT(Told(kFresh, ""), EndsWith("\ncache: not stored: it has no lifetime\n"));
  EXPECT_THAT(Told("", kFresh),
              EndsWith("\ncache: not stored: redirect 302: it has no lifetime\n"));
  EXPECT_THAT(Told("", kFresh, "301 Moved"), HasSubstr(kStored));
}

TEST_F(QngetCacheRedirect, IsKeptUnderTheUrlThatWasGiven) {
  ScriptedServer server({AnswerWith(Answer("", "Location: /t\r\n" + kFresh, "302 Found")),
                         AnswerWith(Answer("abc", kFresh))});
  const std::string url = LocalUrl(server.port());
  Fetch({url});

  EXPECT_EQ(Fetch({url}).output, "abc");
}

// The cookie that it sets is not known when the next call begins.
TEST_F(QngetCacheRedirect, MayNotSetWhatItsTargetVariesWith) {
  EXPECT_THAT(Told("Set-Cookie: a=b\r\n" + kFresh, "Vary: cookie\r\n" + kFresh),
              EndsWith("\ncache: not stored: Vary: Cookie, and a cookie was sent\n"));
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
