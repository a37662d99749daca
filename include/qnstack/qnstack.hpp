/**
 * @file qnstack.hpp
 * @brief The C++ face: handles that own, ranges over lists, strings and enums.
 *
 * For C++17 and later, in headers alone. It adds no behaviour: each function is
 * one of the C interface, or the loop that its text prescribes, and what holds
 * there holds here. Every handle gives the C pointer by `get()`, so whatever is
 * not here is called as it is in C.
 *
 * Nothing here throws by itself, and a program may be built without exceptions.
 * A `std::string` throws when the heap refuses it; nothing leaks then.
 */
#ifndef QNSTACK_QNSTACK_HPP
#define QNSTACK_QNSTACK_HPP

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "qnstack/qnstack.h"

/** The C++ face of the library. */
namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/** States of a context; the numbers are those of the C interface. */
enum class State : int32_t {
  kNone = -1,                              /**< there is no context */
  kNew = QN_HTTP_NEW,                      /**< see #QN_HTTP_NEW */
  kResolved = QN_HTTP_RESOLVED,            /**< see #QN_HTTP_RESOLVED */
  kConnected = QN_HTTP_CONNECTED,          /**< see #QN_HTTP_CONNECTED */
  kSending = QN_HTTP_SENDING,              /**< see #QN_HTTP_SENDING */
  kReceiving = QN_HTTP_RECEIVING,          /**< see #QN_HTTP_RECEIVING */
  kComplete = QN_HTTP_COMPLETE,            /**< see #QN_HTTP_COMPLETE */
  kStopped = QN_HTTP_STOPPED,              /**< see #QN_HTTP_STOPPED */
  kResolveFailed = QN_HTTP_RESOLVE_FAILED, /**< see #QN_HTTP_RESOLVE_FAILED */
  kConnectFailed = QN_HTTP_CONNECT_FAILED, /**< see #QN_HTTP_CONNECT_FAILED */
  kSendFailed = QN_HTTP_SEND_FAILED,       /**< see #QN_HTTP_SEND_FAILED */
  kReceiveFailed = QN_HTTP_RECEIVE_FAILED, /**< see #QN_HTTP_RECEIVE_FAILED */
  kGivenUp = QN_HTTP_GIVEN_UP              /**< see #QN_HTTP_GIVEN_UP */
};

/** What a call that drives or reads a context said. */
enum class Result {
  kDone,  /**< all has been delivered */
  kData,  /**< some bytes have been delivered; call again */
  kAgain, /**< nothing yet, or redirected; call again */
  kFailed /**< failed; the context's state says how */
};

/** Releases what the library made, each by the function made for it. */
struct Release {
  /**
   * Releases a context.
   *
   * @param ctx the context.
   */
  void operator()(QNHttpCtx *ctx) const noexcept { fnQNStack_Http_FreeCtx(ctx); }
  /**
   * Releases a buffer.
   *
   * @param buffer the buffer.
   */
  void operator()(QNMemBuffer *buffer) const noexcept { fnQN_MemBuffer_Free(buffer); }
  /**
   * Releases a text.
   *
   * @param text one that was said to be "owned by the caller".
   */
  void operator()(char *text) const noexcept { fnQN_Free(&text); }
};

/** Owns a context; empty where the C interface gives NULL. */
using Context = std::unique_ptr<QNHttpCtx, Release>;
/** Owns a buffer; empty where the C interface gives NULL. */
using Buffer = std::unique_ptr<QNMemBuffer, Release>;
/** Owns a text of the library, such as fnQNStack_StrDup() gives. */
using Text = std::unique_ptr<char, Release>;

/** @cond */
namespace detail {

// A length as the C interface takes it; -1 for one that it cannot express.
constexpr int32_t LengthOf(std::string_view text) noexcept {
  constexpr std::size_t kMost = std::numeric_limits<int32_t>::max();
  return text.size() <= kMost ? static_cast<int32_t>(text.size()) : -1;
}

}  // namespace detail
/** @endcond */

/**
 * Opens a GET request.
 *
 * @param url as for fnQNStack_Http_Open_Get().
 * @return the context.
 */
[[nodiscard]] inline Context OpenGet(const char *url) noexcept {
  return Context(fnQNStack_Http_Open_Get(url));
}

/**
 * Opens a HEAD request.
 *
 * @param url as for fnQNStack_Http_Open_Head().
 * @return the context.
 */
[[nodiscard]] inline Context OpenHead(const char *url) noexcept {
  return Context(fnQNStack_Http_Open_Head(url));
}

/**
 * Opens a POST request.
 *
 * @param url as for fnQNStack_Http_Open_Post().
 * @param body the body. It is not copied: it must outlive the first read, so do
 *        not hand in a string that ends with the statement.
 * @param type as for fnQNStack_Http_Open_Post().
 * @return the context; empty also for a body above 2 GiB.
 */
[[nodiscard]] inline Context OpenPost(const char *url, std::string_view body,
                                      const char *type = nullptr) noexcept {
  const int32_t length = detail::LengthOf(body);
  return Context(length < 0 ? nullptr : fnQNStack_Http_Open_Post(url, body.data(), length, type));
}

/**
 * Opens a PUT request.
 *
 * @param url as for fnQNStack_Http_Open_Put().
 * @param body as for OpenPost().
 * @param type as for fnQNStack_Http_Open_Put().
 * @return as OpenPost().
 */
[[nodiscard]] inline Context OpenPut(const char *url, std::string_view body,
                                     const char *type = nullptr) noexcept {
  const int32_t length = detail::LengthOf(body);
  return Context(length < 0 ? nullptr : fnQNStack_Http_Open_Put(url, body.data(), length, type));
}

/**
 * Opens a tunnel through the proxy.
 *
 * @param host as for fnQNStack_Http_Open_Connect().
 * @param port as for fnQNStack_Http_Open_Connect().
 * @return the context.
 */
[[nodiscard]] inline Context OpenConnect(const char *host, int32_t port) noexcept {
  return Context(fnQNStack_Http_Open_Connect(host, port));
}

/**
 * The state of a context.
 *
 * @param context the context; an empty one has State::kNone.
 * @return its state.
 */
[[nodiscard]] inline State StateOf(const Context &context) noexcept {
  return static_cast<State>(fnQNStack_Http_getState(context.get()));
}

/**
 * What a number says that the HTTP client gave.
 *
 * @param value the result of fnQNStack_Http_Run(), a read function or a kin.
 * @return Result::kData for a count; Result::kFailed for any number below 0
 *         but -2.
 */
[[nodiscard]] constexpr Result ResultOf(int32_t value) noexcept {
  if (value > 0) return Result::kData;
  if (value == 0) return Result::kDone;
  return value == -2 ? Result::kAgain : Result::kFailed;
}

/** @cond */
namespace detail {

using ReadFunction = int32_t (*)(QNHttpCtx *, void *, int32_t);

inline Result ReadAll(const Context &context, std::string &text, std::size_t most,
                      ReadFunction read) {
  char piece[4096];
  while (most > 0) {
    const auto room = static_cast<int32_t>(most < sizeof piece ? most : sizeof piece);
    const int32_t got = read(context.get(), piece, room);
    const Result result = ResultOf(got);
    if (result == Result::kDone || result == Result::kFailed) return result;
    if (result == Result::kAgain) continue;
    text.append(piece, static_cast<std::size_t>(got));
    most -= static_cast<std::size_t>(got);
  }
  return Result::kData;
}

}  // namespace detail
/** @endcond */

/**
 * Reads an answer's body to its end by fnQNStack_Http_ReadRecvContext().
 *
 * As there, an answer that was cut looks like a whole one: compare its length
 * with `context->retCtxLen`.
 *
 * @param context the context; an empty one fails.
 * @param body the bytes are appended to it, also those before a failure.
 * @param most the most bytes to append.
 * @return Result::kDone, Result::kFailed, or Result::kData when @p most bytes
 *         have come and there may be more.
 */
[[nodiscard]] inline Result ReadBody(const Context &context, std::string &body,
                                     std::size_t most = std::string::npos) {
  return detail::ReadAll(context, body, most, &fnQNStack_Http_ReadRecvContext);
}

/**
 * Reads a raw answer, status line and header included, to its end by
 * fnQNStack_Http_ReadRecvData().
 *
 * @param context as for ReadBody().
 * @param answer as for ReadBody().
 * @param most as for ReadBody().
 * @return as ReadBody().
 */
[[nodiscard]] inline Result ReadAnswer(const Context &context, std::string &answer,
                                       std::size_t most = std::string::npos) {
  return detail::ReadAll(context, answer, most, &fnQNStack_Http_ReadRecvData);
}

/**
 * Makes an empty buffer.
 *
 * @param capacity as for fnQN_MemBuffer_New().
 * @return the buffer.
 */
[[nodiscard]] inline Buffer MakeBuffer(uint32_t capacity = 0) noexcept {
  return Buffer(fnQN_MemBuffer_New(capacity));
}

/**
 * Appends bytes to a buffer by fnQN_MemBuffer_Write().
 *
 * @param buffer the buffer; an empty handle appends nothing.
 * @param bytes what to append; above 2 GiB nothing is.
 */
inline void Append(const Buffer &buffer, std::string_view bytes) noexcept {
  fnQN_MemBuffer_Write(buffer.get(), bytes.data(), detail::LengthOf(bytes));
}

/**
 * The bytes of a buffer that have not been read; they stay unread.
 *
 * @param buffer the buffer, also one of a context; NULL has none.
 * @return a copy of them.
 */
[[nodiscard]] inline std::string Unread(const QNMemBuffer *buffer) {
  if (buffer == nullptr) return {};
  return {buffer->data + buffer->cursor, buffer->length - buffer->cursor};
}

/**
 * Takes one item off a buffer by fnQN_MemBuffer_ReadBySubstr().
 *
 * @param buffer the buffer.
 * @param delimiter the text behind the item.
 * @return the item; none where the C function gives NULL.
 */
[[nodiscard]] inline std::optional<std::string> ReadItem(const Buffer &buffer,
                                                         const char *delimiter) {
  const Text item(fnQN_MemBuffer_ReadBySubstr(buffer.get(), delimiter));
  if (item == nullptr) return std::nullopt;
  return std::string(item.get());
}

/**
 * Decodes a text to UTF-8 by fnCharSet_DecodeString2Local().
 *
 * @param charset as there.
 * @param bytes the text.
 * @return the result up to its first zero byte; none where the C function gives
 *         NULL, so for an empty text too, and for one above 2 GiB.
 */
[[nodiscard]] inline std::optional<std::string> Decode(uint32_t charset, std::string_view bytes) {
  int32_t length = detail::LengthOf(bytes);
  const std::unique_ptr<char, void (*)(char *)> text(
      fnCharSet_DecodeString2Local(charset, bytes.data(), &length),
      &fnCharSet_CharSetFreeStringBuf);
  if (text == nullptr) return std::nullopt;
  return std::string(text.get(), static_cast<std::size_t>(length));
}

/**
 * The elements of a list, for a range-based `for`.
 *
 * The list must outlive it. An element may be removed while the iterator stands
 * on another.
 *
 * @tparam Element the type of the elements, `const` where they are only looked
 *         at.
 */
template <typename Element>
class Range {
 public:
  /** Stands on an element, or at the end. */
  class Iterator {
   public:
    /** It goes forward, and as often as one likes. */
    using iterator_category = std::forward_iterator_tag;
    /** What an algorithm copies. */
    using value_type = std::remove_const_t<Element>;
    /** Not used by a list. */
    using difference_type = std::ptrdiff_t;
    /** What `->` gives. */
    using pointer = Element *;
    /** What `*` gives. */
    using reference = Element &;

    /** Stands at the end. */
    Iterator() noexcept = default;
    /**
     * Stands on a node.
     *
     * @param node the node; NULL for the end.
     */
    explicit Iterator(QNListNode *node) noexcept : node_(node) {}

    /** @return the node, for the functions that take one; NULL at the end. */
    [[nodiscard]] QNListNode *node() const noexcept { return node_; }
    /** @return the element. */
    reference operator*() const noexcept { return *operator->(); }
    /** @return the element, to look into. */
    pointer operator->() const noexcept { return static_cast<pointer>(fnQNList_GetData(node_)); }
    /**
     * Goes on to the next element.
     *
     * @return the iterator.
     */
    Iterator &operator++() noexcept {
      node_ = fnQNList_NextIter(node_);
      return *this;
    }
    /**
     * Goes on to the next element.
     *
     * @return an iterator where this one stood.
     */
    Iterator operator++(int) noexcept {
      return std::exchange(*this, Iterator(fnQNList_NextIter(node_)));
    }
    /** @return whether @p a and @p b stand on the same node. */
    friend bool operator==(Iterator a, Iterator b) noexcept { return a.node_ == b.node_; }
    /** @return whether @p a and @p b stand on different nodes. */
    friend bool operator!=(Iterator a, Iterator b) noexcept { return a.node_ != b.node_; }

   private:
    QNListNode *node_ = nullptr;
  };

  /**
   * The elements of a list.
   *
   * @param list the list; NULL has none.
   */
  explicit Range(const QNList *list) noexcept : list_(list) {}

  /** @return an iterator on the first element. */
  [[nodiscard]] Iterator begin() const noexcept { return Iterator(fnQNList_BeginIter(list_)); }
  /** @return the iterator behind the last element. */
  [[nodiscard]] Iterator end() const noexcept { return Iterator(); }

 private:
  const QNList *list_;
};

/**
 * Owns a list record, its nodes and its elements; may be moved, not copied.
 *
 * @tparam Element the type of the elements.
 */
template <typename Element>
class List {
 public:
  /**
   * Makes an empty list.
   *
   * @param release releases an element, as for fnQNList_Clear(); NULL where the
   *        elements are not the list's.
   */
  explicit List(QNListRelease release = &fnQN_Free) noexcept : release_(release) {}
  /** Releases all elements. */
  ~List() { fnQNList_Clear(&record_, release_); }
  /**
   * Takes another list's elements; that one is empty then.
   *
   * @param other the other list.
   */
  List(List &&other) noexcept
      : record_(std::exchange(other.record_, QNList{})), release_(other.release_) {}
  /**
   * Releases its elements and takes another list's; that one is empty then.
   *
   * @param other the other list.
   * @return this list.
   */
  List &operator=(List &&other) noexcept {
    if (this == &other) return *this;
    fnQNList_Clear(&record_, release_);
    record_ = std::exchange(other.record_, QNList{});
    release_ = other.release_;
    return *this;
  }
  List(const List &) = delete;
  List &operator=(const List &) = delete;

  /** @return the record, for the functions that change a list; it moves with its owner. */
  [[nodiscard]] QNList *get() noexcept { return &record_; }
  /** @return the record, for the functions that look at a list. */
  [[nodiscard]] const QNList *get() const noexcept { return &record_; }

  /** @return an iterator on the first element. */
  [[nodiscard]] auto begin() noexcept { return Range<Element>(&record_).begin(); }
  /** @return the iterator behind the last element. */
  [[nodiscard]] auto end() noexcept { return Range<Element>(&record_).end(); }
  /** @return an iterator on the first element, to look at. */
  [[nodiscard]] auto begin() const noexcept { return Range<const Element>(&record_).begin(); }
  /** @return the iterator behind the last element, to look at. */
  [[nodiscard]] auto end() const noexcept { return Range<const Element>(&record_).end(); }

 private:
  QNList record_ = {};
  QNListRelease release_;
};

/** A settings list. */
using Settings = List<QNFSIniEntry>;

/**
 * Loads a settings file by fnQNFS_Load_INI_To_List().
 *
 * @param name as there.
 * @return the settings; none for a file that cannot be read.
 */
[[nodiscard]] inline Settings LoadSettings(const char *name) noexcept {
  Settings settings(&fnQNFS_INI_FreeNode);
  fnQNFS_Load_INI_To_List(name, settings.get());
  return settings;
}

/**
 * The value of a setting, whatever its length.
 *
 * @param settings the settings.
 * @param key the key, compared exactly.
 * @return the value; none for a NULL key or one that is not set.
 */
[[nodiscard]] inline std::optional<std::string> SettingOf(const Settings &settings,
                                                          const char *key) {
  if (key == nullptr) return std::nullopt;
  const Range<const QNFSIniEntry>::Iterator found(
      fnQNList_CompareFind(settings.get(), &key, &fnQNFS_INI_Compare));
  if (found == settings.end() || found->value == nullptr) return std::nullopt;
  return std::string(found->value);
}

/** @} */

}  // namespace qnstack

#endif
