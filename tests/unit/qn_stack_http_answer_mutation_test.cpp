// SPDX-License-Identifier: MIT
// Damaged answers: seeds are cut, doubled and overwritten by a seeded generator
// and read to their end. Mostly worth its time under sanitizers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/answer_context.h"
#include "support/captured_output.h"
#include "support/cookie_jar.h"

namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)
using namespace qntest;

constexpr int kMutantsOfASeed = 600;

const std::vector<std::string> &Seeds() {
  static const std::vector<std::string> seeds = {
      "HTTP/1.0 200 OK\r\nServer: s\r\nContent-Type: text/plain; charset=utf-8\r\n"
      "Content-Length: 12\r\n\r\nhello, body!",
      "HTTP/1.1 302 Found\r\nSet-Cookie: sid=42; Path=/m; Expires=x\r\n"
      "Location: http://new.test:8080/p?q=1\r\nContent-Type: text/html\r\n\r\n<html>moved</html>",
      "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody",
      "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Location: /x\r\n\r\n\x1f\x8b\0\0\r\n\r\n\0"s,
      "http/1.0 200\r\nset-cookie: a=1\r\nSet-Cookie2: b=2;Path=/b\r\nSet-Cookie: =\r\n"
      "Set-Cookie: flag\r\nSet-Cookie:\tc=3\tPath=/c\t\r\nSet-Cookie: a=1; Path=\r\n\r\n",
      "HTTP/\r\nContent-Length:\r\nContentType:\r\nLocation:\r\nContent-Encoding:\r\n"
      "Set-Cookie:\r\n:\r\n \r\n\n\r\n\r\r\nHTTP/1.0 -3\r\nContent-Length: 99999999999\r\n\r\n",
  };
  return seeds;
}

// Damages texts; the same seed gives the same damage.
class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  std::string Mutate(std::string text) {
    for (size_t left = 1 + Below(4); left > 0; --left) {
      MutateOnce(&text);
    }
    return text;
  }

  // A number from 0 to bound - 1.
  size_t Below(size_t bound) { return random_() % bound; }

 private:
  void MutateOnce(std::string *text) {
    if (text->empty()) return;
    const size_t at = Below(text->size());
    const size_t length = 1 + Below(24);
    switch (Below(6)) {
      case 0:
        text->resize(at);
        break;
      case 1:
        text->erase(at, length);
        break;
      case 2:
        text->insert(Below(text->size()), text->substr(at, length));
        break;
      case 3:
        (*text)[at] = static_cast<char>((*text)[at] ^ (1 << Below(8)));
        break;
      case 4:
        (*text)[at] = Telling();
        break;
      default:
        text->insert(at, 1 + Below(3), Telling());
    }
  }

  // A byte that means something to a parser of answers.
  char Telling() {
    constexpr std::string_view kBytes("\0\r\n :;=\t/-9%\xff", 13);
    return kBytes[Below(kBytes.size())];
  }

  std::mt19937 random_;
};

std::vector<std::string> MutantsOf(size_t seed) {
  Mutator mutator(static_cast<unsigned>(seed) + 1);
  std::vector<std::string> mutants;
  for (int i = 0; i < kMutantsOfASeed; ++i) mutants.push_back(mutator.Mutate(Seeds()[seed]));
  return mutants;
}

class QnStackHttpAnswerMutation : public testing::TestWithParam<size_t> {
 protected:
  void TearDown() override { fnQNStack_Http_Cookie_FreeAll(); }
};

INSTANTIATE_TEST_SUITE_P(Seeds, QnStackHttpAnswerMutation, testing::Range<size_t>(0, 6));

struct Ending {
  bool reached = false;
  std::string bytes;
  int redirects = 0;
};

// Reads a complete answer to its end. After a redirect the next answer is
// empty, which the status kept from the last one turns into a redirect again,
// up to the limit; then the (empty) body is delivered.
Ending ReadToTheEnd(AnswerContext &ctx, int32_t capacity, size_t most_calls) {
  Ending ending;
  for (size_t call = 0; call < most_calls && !ending.reached; ++call) {
    const Delivery delivery = ctx.Read(capacity);
    ending.bytes += delivery.bytes;
    ending.reached = delivery.result == 0;
    if (delivery.result == -2) {
      ++ending.redirects;
      ctx->state = QN_HTTP_COMPLETE;
    }
  }
  return ending;
}

TEST_P(QnStackHttpAnswerMutation, IsReadToItsEnd) {
  for (const std::string &mutant : MutantsOf(GetParam())) {
    const auto capacity = static_cast<int32_t>(1 + mutant.size() % 40);
    AnswerContext ctx;
    ctx.Feed(mutant);
    Ending ending;
    qntest::OutputOf([&] { ending = ReadToTheEnd(ctx, capacity, mutant.size() + 13); });

    ASSERT_TRUE(ending.reached) << testing::PrintToString(mutant);
    ASSERT_TRUE(mutant.ends_with(ending.bytes)) << testing::PrintToString(mutant);
    ASSERT_LE(ending.redirects, 10) << testing::PrintToString(mutant);
    ASSERT_EQ(ctx.Unread(), "") << testing::PrintToString(mutant);
  }
}

// All that parsing an answer leaves behind.
struct Parsed {
  int32_t result = 0;
  int32_t status = 0;
  int32_t length = 0;
  int32_t encoding = 0;
  std::string type;
  std::string url;
  std::string rest;
  std::vector<StoredCookie> cookies;

  bool operator==(const Parsed &) const = default;
};

// Parses a text that arrives in pieces ending at `cuts` and at its end.
Parsed ParseInPieces(const std::string &text, const std::vector<size_t> &cuts) {
  fnQNStack_Http_Cookie_FreeAll();
  AnswerContext ctx(QN_HTTP_RECEIVING);
  size_t from = 0;
  qntest::OutputOf([&] {
    for (const size_t cut : cuts) {
      ctx.Feed(std::string_view(text).substr(from, cut - from));
      fnQNStack_Http_ParseAnswer(ctx.get());
      from = cut;
    }
    ctx.Feed(std::string_view(text).substr(from));
    ctx->state = QN_HTTP_COMPLETE;
    fnQNStack_Http_ParseAnswer(ctx.get());
  });
  return {.result = ctx->headParsed,
          .status = ctx->retValue,
          .length = ctx->retCtxLen,
          .encoding = ctx->retEncoding,
          .type = TextOf(ctx->retCtxType),
          .url = TextOf(ctx->url),
          .rest = ctx.Unread(),
          .cookies = qntest::CookiesInJar()};
}

TEST_P(QnStackHttpAnswerMutation, InPiecesGivesWhatTheWholeGives) {
  Mutator random(static_cast<unsigned>(GetParam()) + 100);
  for (const std::string &mutant : MutantsOf(GetParam())) {
    std::vector<size_t> cuts = {random.Below(mutant.size() + 1), random.Below(mutant.size() + 1),
                                random.Below(mutant.size() + 1)};
    std::sort(cuts.begin(), cuts.end());
    ASSERT_TRUE(ParseInPieces(mutant, cuts) == ParseInPieces(mutant, {}))
        << testing::PrintToString(mutant);
  }
}

}  // namespace
