// SPDX-License-Identifier: MIT
// The library's cache while one qnget works with it: the index loaded from the
// store, and its entries read as qnget writes them.
#ifndef QNGET_CACHE_INDEX_H
#define QNGET_CACHE_INDEX_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cache_label.h"
#include "qnstack/qnstack.h"
#include "store.h"

namespace qnget {

class CacheIndex {
 public:
  /** Opens the store, as `purpose` says, and loads the index. Throws Failure. */
  CacheIndex(const std::string &root, Purpose purpose);
  ~CacheIndex();

  CacheIndex(const CacheIndex &) = delete;
  CacheIndex &operator=(const CacheIndex &) = delete;

  bool IsOpen() const { return store_.IsOpen(); }

  /** All entries, those used last first; they stay the library's. */
  static std::vector<QNCacheEntry *> Entries();

  /** Has what is on the medium, and nothing that only memory knows. */
  static void Reload();

 private:
  Store store_;
};

/** The label of an entry; nothing if another program or version wrote it. */
std::optional<CacheLabel> LabelOf(const QNCacheEntry &entry);

/** The body of an entry; nothing unless it is what was saved, by its label too. */
std::optional<std::string> ReadBody(const QNCacheEntry &entry);

/** Whether a file of the entry's size stands where its body belongs. */
bool HasBody(const QNCacheEntry &entry);

/** Deletes the body, without which an entry is none. */
bool DeleteBody(const QNCacheEntry &entry);

}  // namespace qnget

#endif
