// SPDX-License-Identifier: MIT
// The HTTP cache as its tests use it: on the recording file port and a clock
// that stands still, as at load time before each test and after it, with an
// index written and read by a way of its own.
#ifndef QNSTACK_TESTS_SUPPORT_CACHE_TEST_H
#define QNSTACK_TESTS_SUPPORT_CACHE_TEST_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "qnstack/qn_stack_http_cache.h"
#include "support/recording_file_port.h"
#include "support/scripted_clock.h"

namespace qntest {

inline constexpr char kIndexName[] = "/wap/ca/ca.txt";

// What the library takes the clock's 2009-06-15 12:00:00 for, and the number
// that it makes of it for a body file.
inline constexpr int32_t kNow = -644084928;
inline constexpr int32_t kFileNoOfNow = -4928;

// Expiries before which and behind which the clock of a cache test stands.
inline constexpr int32_t kFresh = kNow + 1000;
inline constexpr int32_t kStale = kNow - 1000;

inline constexpr int32_t kMebibyte = 1048576;

// One entry, by value.
struct CachedAnswer {
  std::string url;
  std::string label = "NULL";
  int32_t file_no = 0;
  int32_t size = 0;
  int32_t expires = 0;
  int32_t stored_at = 0;
  int32_t tag = 0;

  bool operator==(const CachedAnswer &) const = default;
};

// For the messages of failed assertions.
inline const std::vector<CachedAnswer> kTwo = {
    {"http://a/", "text/plain", -4928, 120, 1000, 900, 200},
    {"http://b/", "NULL", 42, 80, -7, -8, -9}};

std::ostream &operator<<(std::ostream &out, const CachedAnswer &answer);

CachedAnswer AnswerOf(const QNCacheEntry &entry);

// The index file that holds these answers.
std::string IndexOf(const std::vector<CachedAnswer> &answers);

// `count` answers with the URLs "u0", "u1" ... and the file numbers from
// `file_no` on, all with that expiry and size.
std::vector<CachedAnswer> Answers(int count, int32_t expires, int32_t size = 1,
                                  int32_t file_no = 20000);

// The calls that read an index file of so many bytes.
std::vector<std::string> IndexRead(size_t bytes);

// The calls that rewrite the index with so many bytes.
std::vector<std::string> IndexRewrite(size_t bytes);

// All calls of several steps in a row.
std::vector<std::string> InARow(const std::vector<std::vector<std::string>> &steps);

class CacheTest : public testing::Test {
 protected:
  CacheTest() { ResetCache(); }
  ~CacheTest() override { ResetCache(); }

  // Nothing loaded, nothing counted, no files.
  static void ResetCache();

  // Puts the index and the bodies of these answers into the files and starts
  // the cache on them; the calls so far are forgotten.
  static void Start(const std::vector<CachedAnswer> &answers);

  // Writes the index file of these answers, and nothing else.
  static void WriteIndex(const std::vector<CachedAnswer> &answers);

  static void SetCounters(int32_t items, int32_t size);
  static void ExpectCounters(int32_t items, int32_t size);

  // What the index in memory holds, from the head on; nothing if there is none.
  static std::vector<CachedAnswer> Held();
  static std::vector<std::string> HeldUrls();

  // The bytes of the index file; "none" if there is no such file.
  static std::string IndexFile();

  ScriptedClock clock_{{.year = 2009, .month = 6, .day = 15, .hour = 12}};
};

}  // namespace qntest

#endif
