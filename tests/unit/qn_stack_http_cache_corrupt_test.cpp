// SPDX-License-Identifier: MIT
// Guards the cache against index files that are torn, changed or never were
// one: they load without reading outside their bytes, loading ends, and the
// cache works on whatever they hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "support/cache_test.h"
#include "support/failing_heap.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;

const std::vector<CachedAnswer> kThree = {
    {"http://a/", "text/plain", -4928, 120, kFresh, kNow, 200},
    {"http://b/", "NULL", 42, 80, kFresh, kNow, 200},
    {"", "", 0, 0, kFresh, 0, 0}};

class QnCacheCorruptIndex : public qntest::CacheTest {
 protected:
  // Starts the cache on an index file of these bytes.
  static void Load(const std::string &bytes) {
    ResetCache();
    FilePort().files().Write(kIndexName, bytes);
    fnQNStack_Cache_Init();
  }

  // That the cache works: the counters fit the list, a save succeeds unless the
  // sizes in the index leave no room, and what is written can be read again.
  static void ExpectWorking() {
    ASSERT_EQ(qn::http_cache_items, fnQNList_GetCount(qn::http_cache_list));
    if (fnQNStack_Cache_Save("http://new/", nullptr, "body", 4, kFresh, 0) == 0) {
      ASSERT_TRUE(Held().empty());
      return;
    }
    ASSERT_NE(fnQNStack_Cache_FindbyUrl_NoExpired("http://new/"), nullptr);
    const std::vector<CachedAnswer> held = Held();
    fnQNStack_Cache_Free();
    fnQNStack_Cache_Init();
    // A line end at the start of a text is taken for the mark of a line.
    if (std::any_of(held.begin(), held.end(), BeginsWithLineEnd)) {
      ASSERT_EQ(Held().front(), held.front());
    } else {
      ASSERT_EQ(Held(), held);
    }
  }

 private:
  static bool BeginsWithLineEnd(const CachedAnswer &answer) {
    return answer.url.starts_with('\n') || answer.label.starts_with('\n');
  }

  qntest::Watchdog watchdog_;
};

TEST_F(QnCacheCorruptIndex, LoadsTheWholeEntriesOfATornOne) {
  const std::string whole = IndexOf(kThree);
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    Load(whole.substr(0, length));

    const std::vector<CachedAnswer> held = Held();
    for (size_t i = 0; i < kThree.size(); ++i) {
      const std::vector<CachedAnswer> first(kThree.begin(),
                                            kThree.begin() + static_cast<std::ptrdiff_t>(i) + 1);
      if (length < IndexOf(first).size()) break;
      ASSERT_GT(held.size(), i);
      EXPECT_EQ(held[i], kThree[i]);
    }
    ExpectWorking();
  }
}

TEST_F(QnCacheCorruptIndex, LoadsAfterAnyOneBitIsFlipped) {
  const std::string whole = IndexOf(kThree);
  for (size_t bit = 0; bit < whole.size() * 8; ++bit) {
    SCOPED_TRACE(bit);
    std::string flipped = whole;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));

    Load(flipped);

    ASSERT_GE(Held().size(), 2U);
    ExpectWorking();
  }
}

TEST_F(QnCacheCorruptIndex, LoadsRandomBytes) {
  std::mt19937 random(2);
  for (int round = 0; round < 500; ++round) {
    SCOPED_TRACE(round);
    // From many zeros and line ends to few.
    const std::string letters = round % 2 == 0 ? std::string("\0\0\n\n-19ax\xff", 10)
                                               : std::string("\0 0123456789-+/:abcdefgh\n", 24);
    std::string bytes(random() % 300, '?');
    for (char &byte : bytes) byte = letters[random() % letters.size()];

    Load(bytes);

    EXPECT_LE(Held().size(), bytes.size());
    EXPECT_EQ(Held().empty(), bytes.empty());
    ExpectWorking();
  }
}

TEST_F(QnCacheCorruptIndex, LoadsNothingButZerosOrNone) {
  Load(std::string(700, '\0'));
  EXPECT_EQ(Held(), std::vector<CachedAnswer>(100, CachedAnswer{.url = "", .label = ""}));
  Load(std::string(100000, 'x'));
  EXPECT_EQ(Held(), (std::vector<CachedAnswer>{{.url = std::string(100000, 'x'), .label = ""}}));
}

// What came in does no harm to the calls that go over it. Nothing is saved beside
// an index that is not known.
TEST_F(QnCacheCorruptIndex, EndsBeforeTheEntryThatTheHeapRefuses) {
  for (int k = 1, refusals = 1; refusals > 0; ++k) {
    SCOPED_TRACE(k);
    ResetCache();
    FilePort().files().Write(kIndexName, IndexOf(kThree));
    refusals = RefusalsIn(fnQNStack_Cache_Init, k);
    EXPECT_EQ(fnQNStack_Cache_FindbyUrl("http://none/"), nullptr);

    const std::vector<CachedAnswer> held = Held();
    const bool known = held.size() == kThree.size();
    ASSERT_LE(held.size(), kThree.size());
    EXPECT_TRUE(std::equal(held.begin(), held.end(), kThree.begin()));
    EXPECT_TRUE(known || refusals > 0);
    EXPECT_EQ(fnQNStack_Cache_Save("http://new/", nullptr, "body", 4, kFresh, 0), known ? 1 : 0);
    EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired("http://new/") != nullptr, known);
    EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
    EXPECT_EQ(fnQNStack_Cache_Save("http://new/", nullptr, "body", 4, kFresh, 0), 1);
  }
}

}  // namespace
