// SPDX-License-Identifier: MIT
// Guards that every method's bytes come out at the other end, direct and through a
// gateway, on port 80 and another, together with the result of every call. What each
// request is composed of is tests/unit's.
#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

using WireMethods = qntest::WireExchange;

TEST_P(WireMethods, ExchangesTheseBytes) { RunRow(); }

constexpr char kMessage[] = "application/vnd.wap.mms-message";
constexpr char kOk[] = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\nabc";
constexpr char kNoBody[] = "HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\n";

// A request in one chunk and an answer with three bytes of body: sent,
// received to the end, done.
const std::vector<CallRow> kPlainCalls = {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}};
const std::vector<CallRow> kEmptyCalls = {{-2, 3, 0, 0, 1}, {0, 5, 1, 0, 1}, {0, 5, 1, 0, 1}};

const std::string kPdu("\x8c\x80\x98t1\0\x8d\x90\r\n\r\n\xff", 13);

std::string PutHeaders(const std::string &type, std::size_t length) {
  std::string lines = BodyHeaders(type, length);
  lines.insert(lines.find("Content-Length"), " Expect: 100-Continue\r\n");
  return lines;
}

const ExchangeRow kDirect[] = {
    {"GetOtherPort",
     {"GET", "mmsc.test:8080"},
     {{"mmsc.test", 8080, {AnswerWith(kOk)}, {RequestText("GET /", "mmsc.test:8080")}}},
     kPlainCalls,
     "abc",
     200},
    {"Head",
     {"HEAD", "http://mmsc.test/m"},
     {{"mmsc.test", 80, {AnswerWith(kNoBody)}, {RequestText("HEAD /m", "mmsc.test:80")}}},
     kEmptyCalls,
     "",
     200},
    {"PostMessage",
     {"POST", "http://mmsc.test:8080/m", kPdu, kMessage},
     {{"mmsc.test",
       8080,
       {AnswerBodyWith(13, kOk)},
       {RequestText("POST /m", "mmsc.test:8080", BodyHeaders(kMessage, 13)) + kPdu}}},
     kPlainCalls,
     "abc",
     200},
    {"Put",
     {"PUT", "http://mmsc.test/m", "hello", "text/plain"},
     {{"mmsc.test",
       80,
       {AnswerBodyWith(5, "HTTP/1.0 201 Created\r\n\r\n")},
       {RequestText("PUT /m", "mmsc.test:80", PutHeaders("text/plain", 5)) + "hello"}}},
     kEmptyCalls,
     "",
     201},
};

// The gateway's name is the only one that is resolved.
const ExchangeRow kThroughGateway[] = {
    {"Get",
     {"GET", "http://mmsc.test/m?id=1", {}, {}, true},
     {{kGateway,
       kGatewayPort,
       {AnswerWith(kOk)},
       {RequestText("GET http://mmsc.test/m?id=1", "mmsc.test:80")}}},
     kPlainCalls,
     "abc",
     200},
    {"PostMessage",
     {"POST", "http://mmsc.test/m", kPdu, kMessage, true},
     {{kGateway,
       kGatewayPort,
       {AnswerBodyWith(13, kOk)},
       {RequestText("POST http://mmsc.test/m", "mmsc.test:80", BodyHeaders(kMessage, 13)) + kPdu}}},
     kPlainCalls,
     "abc",
     200},
};

INSTANTIATE_TEST_SUITE_P(Direct, WireMethods, testing::ValuesIn(kDirect), TopicOf);
INSTANTIATE_TEST_SUITE_P(ThroughGateway, WireMethods, testing::ValuesIn(kThroughGateway), TopicOf);

}  // namespace
