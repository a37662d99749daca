// SPDX-License-Identifier: MIT
// The header fields of qnget's requests: which lines -H takes, what becomes of
// the library's defaults, and that the library carries them all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "options.h"
#include "qnstack/qnstack.h"
#include "redirect.h"
#include "request.h"
#include "support/captured_output.h"

namespace qntest {
namespace {

using qnget::HeaderField;
using qnget::Options;
using qnget::RequestFields;
using testing::Field;
using testing::HasSubstr;

auto Is(const std::string &name, const std::string &value) {
  return testing::AllOf(Field(&HeaderField::name, name), Field(&HeaderField::value, value));
}

TEST(QngetHeaderLine, IsTakenApart) {
  for (const std::string line : {"X-A:b c", "X-A: b c", "X-A:\t b c \t"}) {
    EXPECT_EQ(qnget::CheckHeaderLine(line), "");
    EXPECT_THAT(qnget::ReadHeaderLine(line), Is("X-A", "b c"));
  }
}

struct Refused {
  const char *line;
  const char *reason;
};

const Refused kRefused[] = {
    {"", "not 'Name: value'"},
    {"X-A", "not 'Name: value'"},
    {"X-A;", "not 'Name: value'"},
    {": b", "no name of a header field"},
    {"X A: b", "no name of a header field"},
    {"X-A : b", "no name of a header field"},
    {" X-A: b", "no name of a header field"},
    {"X-\xC3\x84: b", "no name of a header field"},
    {"X-A: b\r\nY: z", "control characters"},
    {"X-A: b\nY: z", "control characters"},
    {"X-A: \x1B[2J", "control characters"},
    {"X-A:", "without a value"},
    {"Content-Type: ", "without a value"},
    {"Host: other", "the library itself decides on Host"},
    {"content-length: 5", "decides on content-length"},
    {"Transfer-Encoding: chunked", "decides on Transfer-Encoding"},
    {"Expect: 100-continue", "decides on Expect"},
    {"Cookie2: x", "decides on Cookie2"},
    {"Connection: keep-alive", "decides on Connection"},
    {"Proxy-Connection: keep-alive", "decides on Proxy-Connection"},
    {"Keep-Alive: 5", "decides on Keep-Alive"},
    {"TE: trailers", "decides on TE"},
    {"Trailer: x", "decides on Trailer"},
    {"Upgrade: h2c", "decides on Upgrade"},
};

TEST(QngetRefusedHeaderLine, IsSaidWithItsReason) {
  for (const Refused &row : kRefused) {
    SCOPED_TRACE(row.line);
    EXPECT_THAT(qnget::CheckHeaderLine(row.line), HasSubstr(row.reason));
  }
}

// Options with values for the fields of the table and further lines.
Options OptionsWith(const std::vector<HeaderField> &lines) {
  Options options;
  options.headers = {{"Accept", "a"}, {"User-Agent", "u"}, {"Profile", "p"}};
  options.header_lines = lines;
  return options;
}

// The fields in one line.
std::string TextOf(const std::vector<HeaderField> &fields) {
  std::string text;
  for (const auto &[name, value] : fields) text += name + ": " + value + "; ";
  return text;
}

TEST(QngetFields, HaveTheLibrarysDefaults) {
  EXPECT_THAT(
      TextOf(RequestFields(Options())),
      testing::MatchesRegex("Accept: [*]/[*],application/vnd.wap.mms-message,text/html; "
                            "User-Agent: MRV-WIN K415/.*; Profile: .*/mobile/uaprof/MRV-K415.xml; "
                            "Accept-Language: en; "));
}

TEST(QngetFields, AreThoseOfTheOptionsAndTheLines) {
  const std::pair<std::vector<HeaderField>, const char *> fields[] = {
      {{}, "Accept: a; User-Agent: u; Profile: p; Accept-Language: en; "},
      {{{"user-agent", "first"}, {"USER-AGENT", "last"}},
       "Accept: a; User-Agent: last; Profile: p; Accept-Language: en; "},
      {{{"Accept", ""}, {"profile", ""}}, "User-Agent: u; Accept-Language: en; "},
      {{{"X-A", "1"}, {"Accept", "b"}, {"X-A", "2"}},
       "Accept: b; User-Agent: u; Profile: p; Accept-Language: en; X-A: 1; X-A: 2; "},
  };
  for (const auto &[lines, text] : fields)
    EXPECT_EQ(TextOf(RequestFields(OptionsWith(lines))), text);
}

TEST(QngetFields, LoseThoseThatTellWhoTheUserIs) {
  std::vector<HeaderField> fields{{"authorization", "Basic eA=="}, {"Cookie", "a=b"}, {"X-A", "1"}};

  DropPrivateFields(fields);

  EXPECT_EQ(TextOf(fields), "X-A: 1; ");
}

TEST(QngetFields, NeedOneOfTheTableToCarryOthers) {
  const std::vector<HeaderField> none;
  const std::vector<HeaderField> further{{"X-A", "1"}};
  const std::vector<HeaderField> carried{{"Profile", "p"}, {"X-A", "1"}};

  EXPECT_EQ(qnget::ProblemOfFields(none, false), "");
  EXPECT_EQ(qnget::ProblemOfFields(carried, true), "");
  EXPECT_NE(qnget::ProblemOfFields(none, true), "");
  EXPECT_NE(qnget::ProblemOfFields(further, false), "");
}

// The request that the library composes with these fields.
std::string RequestWith(const std::vector<HeaderField> &fields) {
  const DiscardedOutput quiet;
  qnget::WriteHeaderTable(fields);
  QNHttpCtx *ctx = fnQNStack_Http_Open_Get("http://h/");
  fnQNStack_Http_PrepareQuest(ctx);
  const std::string request(ctx->sendBuf->data, ctx->sendBuf->length);
  fnQNStack_Http_FreeCtx(ctx);
  fnQNStack_Http_Head_FreeAll();
  return request;
}

TEST(QngetHeaderTable, CarriesAllFieldsInTheirOrder) {
  const std::string value(5000, 'v');

  EXPECT_EQ(RequestWith({{"Accept", "a"}, {"Profile", "p"}, {"X-A", value}, {"X-B", "2"}}),
            "GET / HTTP/1.0\r\nHost: h:80\r\nAccept: a\r\nProfile: p\r\nX-A: " + value +
                "\r\nX-B: 2\r\n\r\n");
}

TEST(QngetHeaderTable, CarriesNothingElse) {
  fnQNStack_Http_Head_SetDefault();

  EXPECT_EQ(RequestWith({}), "GET / HTTP/1.0\r\nHost: h:80\r\n\r\n");
}

struct Redirect {
  const char *method;
  int status;
  const char *next;  // method; nullptr: the answer is final
};

const Redirect kRedirects[] = {
    {"GET", 301, "GET"},   {"GET", 302, "GET"},   {"GET", 303, "GET"},   {"GET", 307, "GET"},
    {"GET", 308, "GET"},   {"HEAD", 301, "HEAD"}, {"HEAD", 302, "HEAD"}, {"HEAD", 303, "HEAD"},
    {"HEAD", 307, "HEAD"}, {"HEAD", 308, "HEAD"}, {"POST", 301, "GET"},  {"POST", 302, "GET"},
    {"POST", 303, "GET"},  {"POST", 307, "POST"}, {"POST", 308, "POST"}, {"PUT", 301, "PUT"},
    {"PUT", 302, "PUT"},   {"PUT", 303, "GET"},   {"PUT", 307, "PUT"},   {"PUT", 308, "PUT"},
    {"GET", 200, nullptr}, {"GET", 201, nullptr}, {"GET", 300, nullptr}, {"GET", 304, nullptr},
    {"GET", 305, nullptr}, {"GET", 306, nullptr}, {"GET", 309, nullptr}, {"GET", 404, nullptr},
};

TEST(QngetFollowing, GoesOnAsTheStatusSays) {
  for (const Redirect &row : kRedirects) {
    SCOPED_TRACE(row.method + std::to_string(row.status));
    const qnget::Request request{row.method, qnget::ReadUrl("http://h/a/b").url, true};
    const std::string head = "HTTP/1.0 " + std::to_string(row.status) + " x\r\nLocation: c\r\n";

    const auto next = FollowingRequest(request, qnget::ReadAnswerHead(head));

    EXPECT_EQ(next.has_value(), row.next != nullptr);
    if (!next || row.next == nullptr) continue;
    EXPECT_EQ(next->method, row.next);
    EXPECT_EQ(next->with_body, next->method == request.method);
    EXPECT_EQ(next->url.Text(), "http://h/a/c");
  }
}

TEST(QngetFollowingNothing, WithoutALocation) {
  const qnget::Request request{"GET", qnget::ReadUrl("http://h/").url, false};

  for (const std::string lines : {"", "Location:\r\n", "Content-Location: /c\r\n"}) {
    EXPECT_FALSE(FollowingRequest(request, qnget::ReadAnswerHead("HTTP/1.0 302 x\r\n" + lines)));
  }
}

}  // namespace
}  // namespace qntest
