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

TEST_F(QnStackHttpCookie, HasNoJarBeforeTheFirstCookie) {
  EXPECT_EQ(qn::http_cookie_list, nullptr);
}

TEST_F(QnStackHttpCookie, SetKeepsAllFourTexts) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/mms");

  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"sid", "abc", "h", "/mms"}));
}

TEST_F(QnStackHttpCookie, SetCopiesItsTexts) {
  char text[] = "x";

  fnQNStack_Http_Cookie_Set(text, text, text, text);
  text[0] = '?';

  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"x", "x", "x", "x"}));
}

TEST_F(QnStackHttpCookie, SetPutsNewCookiesInFront) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("b", "2", "h", "/");

  EXPECT_THAT(CookiesInJar(),
              ElementsAre(StoredCookie{"b", "2", "h", "/"}, StoredCookie{"a", "1", "h", "/"}));
}

// A cookie stored for host h and path /p, and one set after it.
TEST_F(QnStackHttpCookie, SetReplacesForAnotherDomainAndAnotherPathOnly) {
  struct Case {
    const char *name;
    const char *domain;
    const char *path;
    bool replaces;
  };
  constexpr Case kCases[] = {
      {"n", "h", "/p", false},    {"n", "h", "/q", false},       {"n", "i", "/p", false},
      {"n", "i", "/q", true},     {"m", "h", "/p", false},       {"m", "i", "/q", false},
      {"N", "i", "/q", false},    {"n", "H", "/P", true},        {"n", nullptr, "/q", true},
      {"n", "i", nullptr, true},  {"n", nullptr, nullptr, true}, {"n", nullptr, "/p", false},
      {"n", "h", nullptr, false}, {nullptr, "i", "/q", false},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::Message()
                 << testing::PrintToString(c.name) << ' ' << testing::PrintToString(c.domain) << ' '
                 << testing::PrintToString(c.path));
    fnQNStack_Http_Cookie_FreeAll();
    fnQNStack_Http_Cookie_Set("n", "old", "h", "/p");

    fnQNStack_Http_Cookie_Set(c.name, "new", c.domain, c.path);

    const std::vector<StoredCookie> jar = CookiesInJar();
    const StoredCookie first{"n", c.replaces ? "new" : "old", "h", "/p"};
    ASSERT_EQ(jar.size(), c.replaces ? 1U : 2U);
    EXPECT_EQ(jar.back(), first);
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

TEST_F(QnStackHttpCookie, SetTwiceByOneHostKeepsBoth) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("a", "2", "h", "/");

  EXPECT_THAT(CookiesInJar(),
              ElementsAre(StoredCookie{"a", "2", "h", "/"}, StoredCookie{"a", "1", "h", "/"}));
}

TEST_F(QnStackHttpCookie, SetKeepsNullTexts) {
  fnQNStack_Http_Cookie_Set(nullptr, nullptr, nullptr, nullptr);

  ASSERT_EQ(fnQNList_GetCount(qn::http_cookie_list), 1);
  EXPECT_EQ(NewestCookie().name, nullptr);
  EXPECT_EQ(NewestCookie().value, nullptr);
  EXPECT_EQ(NewestCookie().domain, nullptr);
  EXPECT_EQ(NewestCookie().path, nullptr);
}

TEST_F(QnStackHttpCookie, SetReplacesByANullValue) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");

  fnQNStack_Http_Cookie_Set("a", nullptr, "i", "/q");

  ASSERT_EQ(fnQNList_GetCount(qn::http_cookie_list), 1);
  EXPECT_EQ(NewestCookie().value, nullptr);
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

TEST_F(QnStackHttpCookie, FiftyCookiesStay) {
  SetCookies(50);

  const std::vector<StoredCookie> jar = CookiesInJar();
  ASSERT_EQ(jar.size(), 50U);
  EXPECT_EQ(jar.front(), (StoredCookie{"n49", "v49", "h", "/"}));
  EXPECT_EQ(jar.back(), (StoredCookie{"n0", "v0", "h", "/"}));
}

TEST_F(QnStackHttpCookie, TheOldestOf51IsDropped) {
  SetCookies(51);

  const std::vector<StoredCookie> jar = CookiesInJar();
  ASSERT_EQ(jar.size(), 50U);
  for (size_t i = 0; i < jar.size(); ++i) {
    EXPECT_EQ(jar[i].name, "n" + std::to_string(50 - i));
  }
}

TEST_F(QnStackHttpCookie, ReplacingInAFullJarDropsNothing) {
  SetCookies(50);

  fnQNStack_Http_Cookie_Set("n0", "new", "i", "/q");

  const std::vector<StoredCookie> jar = CookiesInJar();
  ASSERT_EQ(jar.size(), 50U);
  EXPECT_EQ(jar.back(), (StoredCookie{"n0", "new", "h", "/"}));
}

TEST_F(QnStackHttpCookie, DroppingGivesTheWholeCookieBack) {
  SetCookies(50);

  FailingHeap heap(FailingHeap::kCountOnly);
  fnQNStack_Http_Cookie_Set("n50", "v50", "h", "/");

  EXPECT_EQ(heap.Frees(), heap.Allocations());  // record, node and four texts each way
}

TEST_F(QnStackHttpCookie, FreeAllGivesEverythingBack) {
  SetCookies(3);
  int frees = 0;
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    fnQNStack_Http_Cookie_FreeAll();
    frees = heap.Frees();
  }

  EXPECT_EQ(qn::http_cookie_list, nullptr);
  EXPECT_EQ(frees, 3 * 6 + 1);  // node, record and four texts of each; the list record
}

TEST_F(QnStackHttpCookie, FreeAllTwiceIsHarmless) {
  SetCookies(3);
  fnQNStack_Http_Cookie_FreeAll();

  fnQNStack_Http_Cookie_FreeAll();

  EXPECT_EQ(qn::http_cookie_list, nullptr);
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"a", "1", "h", "/"}));
}

TEST_F(QnStackHttpCookie, CompareMatchesEqualNamesOfAnotherDomainAndPath) {
  char a[] = "a";
  char b[] = "b";
  for (const bool same_name : {false, true}) {
    for (const bool same_domain : {false, true}) {
      for (const bool same_path : {false, true}) {
        SCOPED_TRACE(testing::Message() << same_name << same_domain << same_path);
        const qn::HttpCookie key = {a, a, a, a};
        const qn::HttpCookie stored = {same_name ? a : b, a, same_domain ? a : b,
                                       same_path ? a : b};
        const bool match = same_name && !same_domain && !same_path;

        EXPECT_EQ(qn::CompareCookies(&key, &stored), match ? 0 : 1);
      }
    }
  }
}

TEST_F(QnStackHttpCookie, CompareTakesANullTextForDifferent) {
  struct Case {
    qn::HttpCookie key;
    qn::HttpCookie stored;
    int expected;
  };
  char a[] = "a";
  char b[] = "b";
  const Case kCases[] = {
      {{nullptr, a, a, a}, {nullptr, a, b, b}, 1}, {{a, a, nullptr, a}, {a, a, nullptr, b}, 0},
      {{a, a, a, nullptr}, {a, a, b, nullptr}, 0}, {{a, a, nullptr, a}, {a, a, b, a}, 1},
      {{a, a, a, a}, {a, a, nullptr, nullptr}, 0},
  };
  for (const Case &c : kCases) {
    EXPECT_EQ(qn::CompareCookies(&c.key, &c.stored), c.expected) << "case " << &c - kCases;
  }
}

TEST_F(QnStackHttpCookie, FreeNodeFreesWhatIsThereAndClearsThePointer) {
  auto *cookie =
      static_cast<qn::HttpCookie *>(fnQN_Malloc_Local(sizeof(qn::HttpCookie), __FILE__, __LINE__));
  ASSERT_NE(cookie, nullptr);
  cookie->name = fnQNStack_StrDup("name");
  cookie->path = fnQNStack_StrDup("/");
  int frees = 0;
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    qn::FreeCookie(&cookie);
    frees = heap.Frees();
  }

  EXPECT_EQ(cookie, nullptr);
  EXPECT_EQ(frees, 3);
}

TEST_F(QnStackHttpCookie, FreeNodeIgnoresNulls) {
  qn::HttpCookie *cookie = nullptr;
  FailingHeap heap(FailingHeap::kCountOnly);

  qn::FreeCookie(nullptr);
  qn::FreeCookie(&cookie);

  EXPECT_EQ(heap.Frees(), 0);
}

// Sets one cookie with the nth allocation refused; true if there was one.
bool SetWithRefusal(int refused, const char *domain, const char *path) {
  FailingHeap heap(refused);
  fnQNStack_Http_Cookie_Set("n1", "new", domain, path);
  return heap.Refusals() > 0;
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
