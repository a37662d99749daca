// SPDX-License-Identifier: MIT
// What the sources of the HTTP cache share with each other and with its tests.
#ifndef QNSTACK_QN_STACK_HTTP_CACHE_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_CACHE_INTERNAL_H

#include <array>
#include <cstdint>
#include <optional>

#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_stack_http_cache.h"

namespace qn {

// What the header of the response that is being parsed says of its freshness.
struct CacheTime {
  int32_t cacheable;  // 0: the response must not be kept
  int32_t expires;    // a time; 0 for none, as in the fields below
  int32_t max_age;    // a lifetime in seconds; the later header field wins
  int32_t last_modified;
  int32_t date;
};

inline constexpr char kCacheDirectory[] = "/wap/ca/";
inline constexpr char kCacheIndex[] = "/wap/ca/ca.txt";

extern QNList *http_cache_list;   // the index; null until first used
extern int32_t http_cache_items;  // number of entries, as the cache counts them
extern int32_t http_cache_size;   // sum of their sizes, as the cache counts them
extern CacheTime cache_time;
extern int32_t http_cache_state;  // the application's mode

// The read and write functions of the index file.
void *ReadCacheEntry(QNFSBuffer *record);
void WriteCacheEntry(QNFSBuffer *record, void *entry);

// Frees the entry that the variable at `address` points to. The variable keeps
// its value.
void FreeCacheEntry(void *address);

// The name of a body file.
class BodyName {
 public:
  explicit BodyName(int32_t file_no);
  const char *Text() const { return text_.data(); }

 private:
  std::array<char, 50> text_ = {};
};

// Adds an entry to the counters.
void CountCacheEntry(const QNCacheEntry &entry);

// Deletes an entry's body file and takes the entry off the counters. The caller
// takes it off the list. Returns what fnQNFS_DeleteFile() returned.
int32_t DeleteCacheBody(const QNCacheEntry &entry);

// Rewrites the index file; 1 saved, 0 not.
int32_t SaveCacheIndex();

// Note the numbers that the index on disk has: the entries that were loaded, if
// that was the whole of it, or those that were to be written.
void NoteIndexLoaded(bool whole);
void NoteIndexWritten(bool saved);

// False after a load that did not take the whole index, until it has been written
// or loaded again. What it names is not known then, so no body may be written.
bool IsIndexKnown();

// A number for a new body: one that no entry has, neither here nor in the index
// on disk. Nothing if there is none.
std::optional<int32_t> FreeFileNumber();

}  // namespace qn

#endif
