// SPDX-License-Identifier: MIT
// Guards how answers are taken from the wire: pieces, ends before and inside
// the header, resets, interim answers, and every kind of header line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using qntest::AnswerBodyWith;
using qntest::AnswerWith;
using qntest::AwaitSignal;
using qntest::CallRow;
using qntest::Close;
using qntest::ConnectionScript;
using qntest::Context;
using qntest::ExchangeRow;
using qntest::HalfClose;
using qntest::OpenGet;
using qntest::Outcome;
using qntest::ReadHeader;
using qntest::ReadToEnd;
using qntest::RequestText;
using qntest::Reset;
using qntest::ScriptedServer;
using qntest::SendBytes;
using qntest::TopicOf;

using WireAnswer = qntest::WireExchange;
using WireAnswerLines = qntest::WireTest;

TEST_P(WireAnswer, IsTakenCallByCall) { RunRow(); }

// A GET of /m that is answered by one connection.
ExchangeRow Row(const char *topic, ConnectionScript script, std::vector<CallRow> calls,
                const char *delivered, int32_t status) {
  return {topic,
          {"GET", "http://mmsc.test/m"},
          {{"mmsc.test", 80, {std::move(script)}, {RequestText("GET /m", "mmsc.test:80")}}},
          std::move(calls),
          delivered,
          status};
}

ConnectionScript InPieces(const std::vector<std::string> &pieces) {
  ConnectionScript script = {ReadHeader()};
  for (const std::string &piece : pieces) {
    script.push_back(SendBytes(piece));
    script.push_back(AwaitSignal());
  }
  script.push_back(HalfClose());
  script.push_back(ReadToEnd());
  return script;
}

const ExchangeRow kEnds[] = {
    Row("Plain", AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc"),
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("Nothing", AnswerWith(""), {{-2, 3, 0, 0, 1}, {0, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "", 0),
    Row("StatusLineAlone", AnswerWith("HTTP/1.0 204 No Content\r\n"),
        {{-2, 3, 0, 0, 1}, {0, 5, 1, 0, 1}}, "", 204),
    Row("InsideTheStatusLine", AnswerWith("HTTP/1.0 20"),
        {{-2, 3, 0, 0, 1}, {11, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "HTTP/1.0 20", 0),
    Row("InsideAHeaderLine", AnswerWith("HTTP/1.0 200 OK\r\nContent-Ty"),
        {{-2, 3, 0, 0, 1}, {10, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "Content-Ty", 200),
    Row("BeforeTheEmptyLine", AnswerWith("HTTP/1.0 200 OK\r\nContent-Type: a/b\r\n"),
        {{-2, 3, 0, 0, 1}, {0, 5, 1, 0, 1}}, "", 200),
    Row("InsideTheEmptyLine", AnswerWith("HTTP/1.0 200 OK\r\n\r"),
        {{-2, 3, 0, 0, 1}, {1, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "\r", 200),
    Row("WithoutAnyHeader", AnswerWith("\r\nabc"), {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}}, "abc", 0),
    Row("BareLineFeeds", AnswerWith("HTTP/1.0 200 OK\n\nabc"), {{-2, 3, 0, 0, 1}, {20, 5, 1, 0, 1}},
        "HTTP/1.0 200 OK\n\nabc", 0),
    Row("ShorterThanItsLength", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 9\r\n\r\nabc"),
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("LongerThanItsLength", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 1\r\n\r\nabc"),
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("ClosedForGood", {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"), Close()},
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("ServerError", AnswerWith("HTTP/1.0 503 Busy\r\n\r\nlater"),
        {{-2, 3, 0, 0, 1}, {5, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "later", 503),
};

const ExchangeRow kResets[] = {
    Row("BeforeAnyByte", {ReadHeader(), Reset()},
        {{-2, 3, 0, 0, 1}, {-1, -13, 1, 0, 1}, {-1, -13, 1, 0, 1}}, "", 0),
    Row("InsideTheHeader",
        {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\nConte"), AwaitSignal(), Reset()},
        {{-2, 3, 0, 0, 1}, {5, 5, 1, 0, -1}, {0, 5, 1, 0, -1}}, "Conte", 200),
    Row("InsideTheBody",
        {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nab"), AwaitSignal(), Reset()},
        {{-2, 3, 0, 0, 1}, {2, 5, 1, 0, -1}, {0, 5, 1, 0, -1}}, "ab", 200),
};

const ExchangeRow kPieces[] = {
    Row("LineByLine", InPieces({"HTTP/1.0 200 OK\r\n", "Content-Type: a/b\r\n", "\r\n", "abc"}),
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("SplitLineEnds", InPieces({"HTTP/1.0 200 OK\r", "\n\r", "\na", "bc"}),
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
};

INSTANTIATE_TEST_SUITE_P(Ends, WireAnswer, testing::ValuesIn(kEnds), TopicOf);
INSTANTIATE_TEST_SUITE_P(Reset, WireAnswer, testing::ValuesIn(kResets), TopicOf);
INSTANTIATE_TEST_SUITE_P(InPieces, WireAnswer, testing::ValuesIn(kPieces), TopicOf);

// The header ends at the first empty line, so the true answer is body.
const ExchangeRow kInterim[] = {
    {"Continue",
     {"PUT", "http://mmsc.test/m", "hello", "t/t"},
     {{"mmsc.test",
       80,
       {AnswerBodyWith(5, "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n\r\nabc")},
       {RequestText("PUT /m", "mmsc.test:80",
                    "Content-Type: t/t\r\n Expect: 100-Continue\r\nContent-Length: 5\r\n") +
        "hello"}}},
     {{-2, 3, 0, 0, 1}, {22, 5, 1, 0, 1}, {0, 5, 1, 0, 1}},
     "HTTP/1.1 200 OK\r\n\r\nabc",
     100},
    // Without the body's promise to wait: what comes first is there already.
    {"ContinueBeforeTheBody",
     {"PUT", "http://mmsc.test/m", "hello", "t/t"},
     {{"mmsc.test",
       80,
       {{ReadHeader(), SendBytes("HTTP/1.1 100 Continue\r\n\r\n"), qntest::ReadBytes(5),
         SendBytes("HTTP/1.1 200 OK\r\n\r\nabc"), HalfClose(), ReadToEnd()}},
       {RequestText("PUT /m", "mmsc.test:80",
                    "Content-Type: t/t\r\n Expect: 100-Continue\r\nContent-Length: 5\r\n") +
        "hello"}}},
     {{-2, 3, 0, 0, 1}, {22, 5, 1, 0, 1}, {0, 5, 1, 0, 1}},
     "HTTP/1.1 200 OK\r\n\r\nabc",
     100},
};

INSTANTIATE_TEST_SUITE_P(Interim, WireAnswer, testing::ValuesIn(kInterim), TopicOf);

TEST_F(WireAnswerLines, EveryKindIsTraced) {
  Serve("mmsc.test", 80,
        {AnswerWith("HTTP/1.1 404 Not Found\r\n"
                    "Server: x\r\n"
                    "content-length: 3\r\n"
                    "Content-Type: text/html; charset=utf-8\r\n"
                    "Content-Encoding: gzip\r\n"
                    "Content-Location: http://mmsc.test/other\r\n"
                    "Set-Cookie: sid=42; Path=/m\r\n"
                    "\r\nabc")});
  const Context ctx = OpenGet("http://mmsc.test/m");
  std::string room(100, '\0');
  const auto read = [&] { return fnQNStack_Http_ReadRecvContext(ctx.get(), room.data(), 100); };
  qntest::OutcomeOf(ctx.get(), read);

  const Outcome outcome = qntest::OutcomeOf(ctx.get(), read);

  EXPECT_EQ(outcome.result, 3);
  const std::string parsed = outcome.trace.substr(outcome.trace.find("ParseAnswer"));
  EXPECT_EQ(parsed,
            "ParseAnswer HTTP/1.1 404 Not Found Ctx->retValue 404HTTP/1.1"
            "ParseAnswer Server: x"
            "ParseAnswer content-length: 3Ctx->retCtxLen 3"
            "ParseAnswer Content-Type: text/html; charset=utf-8"
            "ParseAnswer Content-Encoding: gzip"
            "ParseAnswer Content-Location: http://mmsc.test/other"
            "ParseAnswer Set-Cookie: sid=42; Path=/m"
            "ParseAnswer ");
  EXPECT_EQ(ctx->retValue, 404);
  EXPECT_EQ(ctx->retCtxLen, 3);
  EXPECT_STREQ(ctx->retCtxType, "text/html;");
  EXPECT_EQ(ctx->retEncoding, -1);
  EXPECT_STREQ(ctx->url, "http://mmsc.test/other");
  EXPECT_EQ(ctx->headParsed, 1);
}

TEST_F(WireAnswerLines, EachReceiveIsTraced) {
  Serve("mmsc.test", 80, {InPieces({"HTTP/1.0 200 OK\r\n", "\r\na", "bc"})});
  const Context ctx = OpenGet("http://mmsc.test/m");
  EXPECT_EQ(qntest::RunStep(ctx),
            (Outcome{-2, 3, 0, 1,
                     "create socket 1host:mmsc.test,80connet socket:1 result:1"
                     "hostname  = mmsc.test"}));
  EXPECT_EQ(qntest::RunStep(ctx),
            (Outcome{0, 5, 1, 1, "socket 1 recv len:17socket 1 recv len:3socket 1 recv len:2"}));
}

TEST_F(WireAnswerLines, RawAnswerIsDeliveredWithItsHeader) {
  const std::string answer = "HTTP/1.0 302 Found\r\nLocation: http://other.test/\r\n\r\nabc";
  ScriptedServer &server = Serve("mmsc.test", 80, {AnswerWith(answer)});
  Context ctx = OpenGet("http://mmsc.test/m");
  std::string room(100, '\0');
  const auto read = [&] { return fnQNStack_Http_ReadRecvData(ctx.get(), room.data(), 100); };
  EXPECT_EQ(qntest::OutcomeOf(ctx.get(), read).result, -2);
  EXPECT_EQ(qntest::OutcomeOf(ctx.get(), read).result, static_cast<int32_t>(answer.size()));
  EXPECT_EQ(room.substr(0, answer.size()), answer);
  EXPECT_EQ(qntest::OutcomeOf(ctx.get(), read).result, 0);
  ctx.reset();
  EXPECT_EQ(server.Finish(), "");
}

}  // namespace
