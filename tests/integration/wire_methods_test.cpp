// SPDX-License-Identifier: MIT
// Guards that requests come out at the other end byte by byte, direct and through a
// gateway, and that their answers are delivered. What each request is composed of and
// what each call gives is tests/unit's.
#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

using WireMethods = qntest::WireExchange;

TEST_P(WireMethods, ExchangesTheseBytes) { RunRow(); }

constexpr char kMessage[] = "application/vnd.wap.mms-message";
constexpr char kPlainText[] = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\nabc";

const std::string kPdu("\x8c\x80\x98t1\0\x8d\x90\r\n\r\n\xff", 13);

// The gateway's name is the only one that is resolved where there is one.
const ExchangeRow kRequests[] = {
    {"GetFromAnotherPort",
     {"GET", "mmsc.test:8080"},
     {{"mmsc.test", 8080, {AnswerWith(kPlainText)}, {RequestText("GET /", "mmsc.test:8080")}}},
     0,
     "abc",
     200},
    {"GetThroughAGateway",
     {"GET", "http://mmsc.test/m?id=1", {}, {}, true},
     {{kGateway,
       kGatewayPort,
       {AnswerWith(kPlainText)},
       {RequestText("GET http://mmsc.test/m?id=1", "mmsc.test:80")}}},
     0,
     "abc",
     200},
    {"PostOfAMessage",
     {"POST", "http://mmsc.test/m", kPdu, kMessage},
     {{"mmsc.test",
       80,
       {AnswerBodyWith(13, kPlainText)},
       {RequestText("POST /m", "mmsc.test:80", BodyHeaders(kMessage, 13)) + kPdu}}},
     0,
     "abc",
     200},
    // The header ends at the first empty line, so the true answer is body. The
    // request's body does not wait for it.
    {"PutThatIsAnsweredByContinueFirst",
     {"PUT", "http://mmsc.test/m", "hello", "t/t"},
     {{"mmsc.test",
       80,
       {{ReadHeader(), SendBytes("HTTP/1.1 100 Continue\r\n\r\n"), ReadBytes(5),
         SendBytes("HTTP/1.1 200 OK\r\n\r\nabc"), HalfClose(), ReadToEnd()}},
       {RequestText("PUT /m", "mmsc.test:80",
                    "Content-Type: t/t\r\n Expect: 100-Continue\r\nContent-Length: 5\r\n") +
        "hello"}}},
     0,
     "HTTP/1.1 200 OK\r\n\r\nabc",
     100},
};

INSTANTIATE_TEST_SUITE_P(, WireMethods, testing::ValuesIn(kRequests), TopicOf);

}  // namespace
