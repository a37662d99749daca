// SPDX-License-Identifier: MIT
// The numbers of body files. What the index on disk names is noted here, so that
// a new body never gets a number under which that index has another URL: the
// index may outlive a process that ends, or its own write that fails.
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"

namespace {

// fnQNFS_getRandom() gives -9999 to 9999, and the search goes up from there.
constexpr int32_t kLowest = -9999;
constexpr std::size_t kNumbers = 32768;

// Numbers that the index on disk may name. Of those that no search begins with or
// comes to, which only an index from elsewhere has, it is known that there are some.
class NumbersOnDisk {
 public:
  // In place: assigning a new one would put 4 KB on the stack.
  void Clear() {
    reached_.reset();
    others_ = false;
  }
  void Add(int32_t file_no) {
    if (IsInReach(file_no)) {
      reached_[Place(file_no)] = true;
    } else {
      others_ = true;
    }
  }
  bool Have(int32_t file_no) const {
    return IsInReach(file_no) ? reached_[Place(file_no)] : others_;
  }

  static bool IsInReach(int32_t file_no) { return file_no >= kLowest && Place(file_no) < kNumbers; }

 private:
  static std::size_t Place(int32_t file_no) {
    return static_cast<std::size_t>(int64_t{file_no} - kLowest);
  }

  std::bitset<kNumbers> reached_;
  bool others_ = false;
};

constinit NumbersOnDisk on_disk = {};
constinit bool index_is_known = true;

int CompareFileNumbers(const void *key, const void *stored) {
  const auto number = [](const void *entry) {
    return static_cast<const QNCacheEntry *>(entry)->file_no;
  };
  return number(key) == number(stored) ? 0 : 1;
}

void AddNumbersOfEntries() {
  for (const QNListNode *node = fnQNList_BeginIter(qn::http_cache_list); node != nullptr;
       node = node->next) {
    on_disk.Add(static_cast<const QNCacheEntry *>(node->data)->file_no);
  }
}

}  // namespace

void qn::NoteIndexLoaded(bool whole) {
  index_is_known = whole;
  on_disk.Clear();
  AddNumbersOfEntries();
}

void qn::NoteIndexWritten(bool saved) {
  // A write that failed may have left the old index, or the new one after all.
  if (saved) {
    index_is_known = true;
    on_disk.Clear();
  }
  AddNumbersOfEntries();
}

bool qn::IsIndexKnown() { return index_is_known; }

std::optional<int32_t> qn::FreeFileNumber() {
  QNCacheEntry key = {};
  key.file_no = fnQNFS_getRandom();
  while (on_disk.Have(key.file_no) ||
         fnQNList_CompareFind(http_cache_list, &key, CompareFileNumbers) != nullptr) {
    // Where one number out of reach is taken, any of them may be.
    if (!NumbersOnDisk::IsInReach(key.file_no)) return std::nullopt;
    ++key.file_no;
  }
  return key.file_no;
}
