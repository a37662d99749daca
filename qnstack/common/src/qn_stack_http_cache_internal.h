// What the sources of the HTTP cache share with each other and with its tests.
#ifndef QNSTACK_QN_STACK_HTTP_CACHE_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_CACHE_INTERNAL_H

#include <array>
#include <cstdint>

#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_stack_http_cache.h"

namespace qn {

// The freshness facts of the answer that is being parsed.
struct CacheTime {
  int32_t cacheable;  // 0: the answer must not be kept
  int32_t expires;    // absolute, as the three below; 0 for none
  int32_t max_age;    // a lifetime in seconds; the later header line wins
  int32_t last_modified;
  int32_t date;
};

inline constexpr char kCacheFolder[] = "/wap/ca/";
inline constexpr char kCacheIndex[] = "/wap/ca/ca.txt";
inline constexpr std::size_t kBodyNameBytes = 50;

extern QNList *http_cache_list;   // the index; null until first used
extern int32_t http_cache_items;  // entries, as the cache counts them
extern int32_t http_cache_size;   // bytes of their bodies, counted likewise
extern CacheTime cache_time;
extern int32_t http_cache_state;  // the application's mode

// One entry out of and into the index file.
void *fnQNStack_Cache_Read_Record(QNFSBuffer *record);
void fnQNStack_Cache_Write_Record(QNFSBuffer *record, void *entry);

// Releases the entry that the variable at `address` holds; the variable keeps
// its value.
void fnQNStack_Cache_FreeNode(void *address);

// Compare by URL, and by the number of the body file.
int fnQNStack_Cache_Compare(const void *key, const void *stored);
int fnQNStack_Cache_Compare_FileID(const void *key, const void *stored);

// Writes the name of a body file into `name` of kBodyNameBytes bytes.
void init_node_filename(int32_t file_no, char *name);

// The name of a body file.
class BodyName {
 public:
  explicit BodyName(int32_t file_no) { init_node_filename(file_no, name_.data()); }
  const char *Text() const { return name_.data(); }

 private:
  std::array<char, kBodyNameBytes> name_ = {};
};

// Counts an entry in.
void CountIn(const QNCacheEntry &entry);

// Deletes an entry's body file and takes the entry off the counters; the list
// is the caller's to change. Gives what the deletion gave.
int32_t delete_node_filename(const QNCacheEntry *entry);

// Rewrites the index file; 1 saved, 0 not.
int32_t SaveCacheIndex();

}  // namespace qn

#endif
