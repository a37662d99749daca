// SPDX-License-Identifier: MIT
/**
 * @file cache.hpp
 * @brief The HTTP cache as an object: loaded when it is made, released at its
 *        end. Included by qnstack.hpp.
 */
#ifndef QNSTACK_CPP_CACHE_HPP
#define QNSTACK_CPP_CACHE_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qnstack/cpp/arguments.hpp"
#include "qnstack/cpp/list.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * The cache: its index is loaded when the object is made and released in memory
 * at its end; the files stay. There is one for the process, so make one object;
 * it can be neither copied nor moved.
 *
 * Entries belong to the cache. A pointer to one, or a Range of them, is valid
 * until the next Save() or Clear(), or the end of the cache.
 */
class Cache {
 public:
  /** Loads the index by fnQNStack_Cache_Init(). The file port's root is set before. */
  Cache() noexcept { fnQNStack_Cache_Init(); }
  /** Releases the index by fnQNStack_Cache_Free(). */
  ~Cache() { fnQNStack_Cache_Free(); }
  Cache(const Cache &) = delete;
  Cache &operator=(const Cache &) = delete;

  /**
   * Finds an entry that is still fresh by fnQNStack_Cache_FindbyUrl_NoExpired(),
   * which moves it to the front.
   *
   * @param url the URL, compared exactly.
   * @return the entry; NULL if there is none, and for NULL or a text that is
   *         refused.
   */
  [[nodiscard]] const QNCacheEntry *FindFresh(const Terminated &url) noexcept {
    return url.get() == nullptr ? nullptr : fnQNStack_Cache_FindbyUrl_NoExpired(url.get());
  }
  /**
   * Finds an entry, fresh or stale, by fnQNStack_Cache_FindbyUrl().
   *
   * @param url the URL, compared exactly.
   * @return as FindFresh().
   */
  [[nodiscard]] const QNCacheEntry *Find(const Terminated &url) const noexcept {
    return url.get() == nullptr ? nullptr : fnQNStack_Cache_FindbyUrl(url.get());
  }
  /** @return all entries, most recently saved or used first. */
  [[nodiscard]] Range<const QNCacheEntry> entries() const noexcept {
    return Range<const QNCacheEntry>(fnQNFS_http_cache_list());
  }

  /**
   * Reads an entry's body by fnQNStack_Cache_LoadFileToBuffer().
   *
   * @param entry the entry.
   * @return the body, of the entry's size; none if its file is gone or cannot be
   *         read.
   */
  [[nodiscard]] std::optional<std::string> Body(const QNCacheEntry &entry) const {
    if (entry.size < 0) return std::nullopt;
    std::string body(static_cast<std::size_t>(entry.size), '\0');
    if (fnQNStack_Cache_LoadFileToBuffer(entry.file_no, body.data(), entry.size) != 0) {
      return std::nullopt;
    }
    return body;
  }

  /**
   * Saves a body by fnQNStack_Cache_Save(); pointers to entries end.
   *
   * @param url as there, but never NULL.
   * @param body the body; it may be a string of an entry.
   * @param expires when it expires, as from Expires().
   * @param label as there.
   * @param tag as there.
   * @return whether it has been saved; false also for a body above 2 GiB or a
   *         text that is refused, with nothing thrown out.
   */
  bool Save(const Terminated &url, std::string_view body, int32_t expires,
            const Terminated &label = nullptr, int32_t tag = 0) noexcept {
    const int32_t length = detail::LengthOf(body.size());
    if (url.get() == nullptr || label.IsRefused() || length < 0) return false;
    return fnQNStack_Cache_Save(url.get(), label.get(), body.data(), length, expires, tag) == 1;
  }
  /**
   * Deletes all bodies and writes an empty index by fnQNStack_Cache_Delete_All(),
   * and counts anew; pointers to entries end.
   *
   * @return whether the index has been written.
   */
  bool Clear() noexcept {
    const bool deleted = fnQNStack_Cache_Delete_All() == 1;
    fnQNStack_Cache_Init();
    return deleted;
  }

  /** Starts on a new answer by fnQNStack_Cache_InitTime(). */
  void StartAnswer() noexcept { fnQNStack_Cache_InitTime(); }
  /**
   * Takes one header line of the answer by fnQNStack_Cache_ParseCacheTime().
   *
   * @param line name and value.
   * @return whether the answer may still be kept. A text that is refused, or NULL,
   *         counts for nothing.
   */
  bool TakeHeaderLine(const Terminated &line) noexcept {
    return fnQNStack_Cache_ParseCacheTime(line.get()) == 0;
  }
  /**
   * When the answer expires, by fnQNStack_Cache_getExpired(); @ref caching says
   * what becomes of its dates.
   *
   * @return the time for Save(); none when the answer must not be kept.
   */
  [[nodiscard]] std::optional<int32_t> Expires() const noexcept {
    constexpr int32_t kNotToBeKept = -1;
    const int32_t expires = fnQNStack_Cache_getExpired();
    if (expires == kNotToBeKept) return std::nullopt;
    return expires;
  }
};

/** @} */

}  // namespace qnstack

#endif
