// SPDX-License-Identifier: MIT
// The three stores on top of the file port, each seen as one text: what a
// program that starts anew finds in the files. Every load here begins with no
// state in memory.
#ifndef QNSTACK_TESTS_POSIX_STORES_H
#define QNSTACK_TESTS_POSIX_STORES_H

#include <cstdint>
#include <string>
#include <vector>

namespace qntest {

inline constexpr char kRecordFile[] = "/data/records";
inline constexpr char kSettingsFile[] = "/data/settings.ini";
inline constexpr char kCacheDirectory[] = "/wap/ca/";
inline constexpr char kIndexFile[] = "/wap/ca/ca.txt";

using Texts = std::vector<std::string>;

// Record files whose elements are texts.
Texts LoadRecords();
bool SaveRecords(const Texts &texts);
bool AppendRecord(const std::string &text);

// Settings, each as "key=value".
Texts LoadSettings();
// Loads them first.
bool WriteSetting(const std::string &key, const std::string &value);

// One entry of the cache's index, and what became of its body.
struct CachedBody {
  enum class State { kWhole, kMissing, kTorn };
  std::string url;
  int32_t tag = 0;
  State state = State::kWhole;
};

// Starts the cache anew, and gives its index with the state of each body.
std::vector<CachedBody> LoadCache();
bool SaveToCache(const std::string &url, int32_t tag);
void ForgetCache();  // as the end of a program does

inline constexpr int32_t kFirstPlanted = 20001;  // the clock's numbers end at 9999

// Makes an index of the URLs and a body for each, under numbers that the clock
// does not give, or under others. The index counts them as so large that there is
// no room for one more; the bodies are small, so that tests are quick.
void PlantFullCache(const Texts &urls, int32_t first_number = kFirstPlanted);

}  // namespace qntest

#endif
