// SPDX-License-Identifier: MIT
// Guards how answers are taken from the wire, call by call: to their end, up to a
// reset, and behind an interim one. Every place that an answer can break off at is
// tests/hostile's.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

using WireAnswer = qntest::WireExchange;

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

const ExchangeRow kEnds[] = {
    Row("HalfClosed", AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc"),
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("ClosedForGood", {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"), Close()},
        {{-2, 3, 0, 0, 1}, {3, 5, 1, 0, 1}, {0, 5, 1, 0, 1}}, "abc", 200),
    Row("ResetBeforeAnyByte", {ReadHeader(), Reset()},
        {{-2, 3, 0, 0, 1}, {-1, -13, 1, 0, 1}, {-1, -13, 1, 0, 1}}, "", 0),
    Row("ResetInsideTheBody",
        {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nab"), AwaitSignal(), Reset()},
        {{-2, 3, 0, 0, 1}, {2, 5, 1, 0, -1}, {0, 5, 1, 0, -1}}, "ab", 200),
};

INSTANTIATE_TEST_SUITE_P(Ends, WireAnswer, testing::ValuesIn(kEnds), TopicOf);

// The header ends at the first empty line, so the true answer is body.
const ExchangeRow kInterim[] = {
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

}  // namespace
