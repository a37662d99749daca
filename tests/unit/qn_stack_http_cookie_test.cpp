// SPDX-License-Identifier: MIT
// Guards the cookie jar: which cookie replaces which, their order and number,
// and what a refusing heap leaves behind.
#include "qnstack/qn_stack_http_cookie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qn_stack_http_cookie_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_tools.h"
#include "support/cookie_jar.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

const qn::HttpCookie &NewestCookie() {
  return *static_cast<const qn::HttpCookie *>(
      fnQNList_GetData(fnQNList_BeginIter(qn::http_cookie_list)));
}

const qn::HttpCookie &OldestCookie() {
  return *static_cast<const qn::HttpCookie *>(
      fnQNList_GetData(fnQNList_EndIter(qn::http_cookie_list)));
}

// Sets cookies n0, n1, ... with values v0, v1, ... for one host.
void SetCookies(int count) {
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    fnQNStack_Http_Cookie_Set(("n" + number).c_str(), ("v" + number).c_str(), "h", "/");
  }
}

// Each test has the jar to itself.
class QnStackHttpCookie : public testing::Test {
 protected:
  QnStackHttpCookie() { fnQNStack_Http_Cookie_FreeAll(); }
  ~QnStackHttpCookie() override { fnQNStack_Http_Cookie_FreeAll(); }
};

TEST_F(QnStackHttpCookie, SetCopiesAllFourTexts) {
  std::string texts[] = {"sid", "abc", "h", "/mms"};
  fnQNStack_Http_Cookie_Set(texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str());
  for (std::string &text : texts) text.assign(text.size(), '?');
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"sid", "abc", "h", "/mms"}));
}

// A missing text is another one than any, itself too.
TEST_F(QnStackHttpCookie, SetReplacesForAnotherDomainAndAnotherPathOnly) {
  struct Key {
    const char *name;
    const char *domain;
    const char *path;
  };
  struct Case {
    Key stored;
    Key set;
    bool replaces;
  };
  constexpr Case kCases[] = {
      {{"n", "h", "/p"}, {"n", "h", "/p"}, false},
      {{"n", "h", "/p"}, {"n", "h", "/q"}, false},
      {{"n", "h", "/p"}, {"n", "i", "/p"}, false},
      {{"n", "h", "/p"}, {"n", "i", "/q"}, true},
      {{"n", "h", "/p"}, {"m", "h", "/p"}, false},
      {{"n", "h", "/p"}, {"m", "h", "/q"}, false},
      {{"n", "h", "/p"}, {"m", "i", "/p"}, false},
      {{"n", "h", "/p"}, {"m", "i", "/q"}, false},
      {{"n", "h", "/p"}, {"N", "i", "/q"}, false},
      {{"n", "h", "/p"}, {"n", "H", "/P"}, true},
      {{"n", "h", "/p"}, {"n", nullptr, "/q"}, true},
      {{"n", "h", "/p"}, {"n", "i", nullptr}, true},
      {{"n", "h", "/p"}, {"n", nullptr, nullptr}, true},
      {{"n", "h", "/p"}, {"n", nullptr, "/p"}, false},
      {{"n", "h", "/p"}, {"n", "h", nullptr}, false},
      {{"n", "h", "/p"}, {nullptr, "i", "/q"}, false},
      {{nullptr, "h", "/p"}, {nullptr, "i", "/q"}, false},
      {{"n", nullptr, "/p"}, {"n", nullptr, "/q"}, true},
      {{"n", "h", nullptr}, {"n", "i", nullptr}, true},
      {{"n", nullptr, nullptr}, {"n", "h", "/p"}, true},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - kCases);
    fnQNStack_Http_Cookie_FreeAll();
    fnQNStack_Http_Cookie_Set(c.stored.name, "old", c.stored.domain, c.stored.path);
    const StoredCookie first = CookiesInJar().back();
    fnQNStack_Http_Cookie_Set(c.set.name, "new", c.set.domain, c.set.path);
    ASSERT_EQ(CookiesInJar().size(), c.replaces ? 1U : 2U);
    EXPECT_EQ(CookiesInJar().back(),
              (StoredCookie{first.name, c.replaces ? "new" : "old", first.domain, first.path}));
  }
}

TEST_F(QnStackHttpCookie, SetReplacesInPlace) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("b", "2", "h", "/");
  fnQNStack_Http_Cookie_Set("c", "3", "h", "/");

  fnQNStack_Http_Cookie_Set("b", "new", "i", "/q");

  EXPECT_THAT(CookiesInJar(),
              ElementsAre(StoredCookie{"c", "3", "h", "/"}, StoredCookie{"b", "new", "h", "/"},
                          StoredCookie{"a", "1", "h", "/"}));
}

TEST_F(QnStackHttpCookie, SetReplacesTheNewestOfSeveralMatches) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("a", "2", "h", "/");

  fnQNStack_Http_Cookie_Set("a", "new", "i", "/q");

  EXPECT_THAT(CookiesInJar(),
              ElementsAre(StoredCookie{"a", "new", "h", "/"}, StoredCookie{"a", "1", "h", "/"}));
}

TEST_F(QnStackHttpCookie, SetKeepsNullTextsAndReplacesByANullValue) {
  fnQNStack_Http_Cookie_Set(nullptr, nullptr, nullptr, nullptr);
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("a", nullptr, "i", "/q");
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"a", "(null)", "h", "/"},
                                          StoredCookie{"(null)", "(null)", "(null)", "(null)"}));
}

TEST_F(QnStackHttpCookie, SetTakesStoredTexts) {
  fnQNStack_Http_Cookie_Set("a", "12345", "h", "/");

  fnQNStack_Http_Cookie_Set(NewestCookie().name, NewestCookie().value, "i", "/q");
  fnQNStack_Http_Cookie_Set("a", NewestCookie().value + 2, "i", "/q");
  fnQNStack_Http_Cookie_Set(NewestCookie().name, NewestCookie().value, NewestCookie().domain,
                            NewestCookie().path);

  EXPECT_THAT(CookiesInJar(),
              ElementsAre(StoredCookie{"a", "345", "h", "/"}, StoredCookie{"a", "345", "h", "/"}));
}

TEST_F(QnStackHttpCookie, SetTakesTheTextsOfTheCookieThatItDrops) {
  SetCookies(50);

  fnQNStack_Http_Cookie_Set(OldestCookie().name, OldestCookie().value, OldestCookie().domain,
                            OldestCookie().path);

  const std::vector<StoredCookie> jar = CookiesInJar();
  ASSERT_EQ(jar.size(), 50U);
  EXPECT_EQ(jar.front(), (StoredCookie{"n0", "v0", "h", "/"}));
  EXPECT_EQ(jar.back(), (StoredCookie{"n1", "v1", "h", "/"}));
}

TEST_F(QnStackHttpCookie, TheOldestOf51IsDroppedAndGivenBackWhole) {
  SetCookies(50);
  ASSERT_EQ(CookiesInJar().size(), 50U);
  fnQNStack_Http_Cookie_Set("n0", "new", "i", "/q");  // drops nothing
  EXPECT_EQ(CookiesInJar().back(), (StoredCookie{"n0", "new", "h", "/"}));
  {
    const FailingHeap heap(FailingHeap::kCountOnly);
    fnQNStack_Http_Cookie_Set("n50", "v50", "h", "/");
    EXPECT_EQ(heap.Frees(), heap.Allocations());  // record, node and four texts each way
  }
  const std::vector<StoredCookie> jar = CookiesInJar();
  ASSERT_EQ(jar.size(), 50U);
  for (size_t i = 0; i < jar.size(); ++i) {
    const std::string number = std::to_string(50 - i);
    EXPECT_EQ(jar[i], (StoredCookie{"n" + number, "v" + number, "h", "/"}));
  }
}

TEST_F(QnStackHttpCookie, FreeAllGivesEverythingBackAndMayBeCalledTwice) {
  EXPECT_EQ(qn::http_cookie_list, nullptr);
  SetCookies(3);
  // Node, record and four texts of each; the list record.
  EXPECT_EQ(FreesIn(fnQNStack_Http_Cookie_FreeAll), 3 * 6 + 1);
  EXPECT_EQ(qn::http_cookie_list, nullptr);
  fnQNStack_Http_Cookie_FreeAll();
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"a", "1", "h", "/"}));
}

TEST_F(QnStackHttpCookie, FreeNodeFreesWhatIsThereAndClearsThePointer) {
  auto *cookie =
      static_cast<qn::HttpCookie *>(fnQN_Malloc_Local(sizeof(qn::HttpCookie), __FILE__, __LINE__));
  ASSERT_NE(cookie, nullptr);
  cookie->name = fnQNStack_StrDup("name");
  cookie->path = fnQNStack_StrDup("/");

  EXPECT_EQ(FreesIn([&] { qn::FreeCookie(&cookie); }), 3);

  EXPECT_EQ(cookie, nullptr);
  qn::FreeCookie(nullptr);
  qn::FreeCookie(&cookie);
}

// Sets one cookie with the nth allocation refused; true if there was one.
bool SetWithRefusal(int refused, const char *domain, const char *path) {
  return RefusalsIn([&] { fnQNStack_Http_Cookie_Set("n1", "new", domain, path); }, refused) > 0;
}

TEST_F(QnStackHttpCookie, SetLeavesTheJarToAnyRefusedAllocation) {
  SetCookies(50);
  const std::vector<StoredCookie> before = CookiesInJar();
  int refused = 1;
  for (; SetWithRefusal(refused, "h", "/"); ++refused) ASSERT_EQ(CookiesInJar(), before);

  EXPECT_EQ(CookiesInJar().front(), (StoredCookie{"n1", "new", "h", "/"}));
  EXPECT_GT(refused, 1);
}

TEST_F(QnStackHttpCookie, SetKeepsTheOldValueForARefusedReplacement) {
  SetCookies(3);
  const std::vector<StoredCookie> before = CookiesInJar();

  ASSERT_TRUE(SetWithRefusal(1, "i", "/q"));

  EXPECT_EQ(CookiesInJar(), before);
}

TEST_F(QnStackHttpCookie, FirstSetStoresNothingForARefusedAllocation) {
  for (int refused = 1; SetWithRefusal(refused, "h", "/"); ++refused) {
    SCOPED_TRACE(refused);
    ASSERT_THAT(CookiesInJar(), IsEmpty());
    fnQNStack_Http_Cookie_FreeAll();
  }

  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"n1", "new", "h", "/"}));
}

}  // namespace
