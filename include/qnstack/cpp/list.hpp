// SPDX-License-Identifier: MIT
/**
 * @file list.hpp
 * @brief Lists with the member names of the standard containers: Range looks at
 *        a list that somebody else owns, List owns one. Included by qnstack.hpp.
 */
#ifndef QNSTACK_CPP_LIST_HPP
#define QNSTACK_CPP_LIST_HPP

#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

#include "qnstack/qnstack.h"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * Stands on an element of a list, or behind the last one. It stays valid when
 * other elements come and go, or when the list's elements move to another List.
 * Only the step back from the end needs the list at its old place.
 *
 * @tparam Element the type of the elements, `const` where they are only looked
 *         at.
 */
template <typename Element>
class ListIterator {
 public:
  /** It goes forward and back. */
  using iterator_category = std::bidirectional_iterator_tag;
  /** What an algorithm copies. */
  using value_type = std::remove_const_t<Element>;
  /** Not used by a list. */
  using difference_type = std::ptrdiff_t;
  /** What `->` gives. */
  using pointer = Element *;
  /** What `*` gives. */
  using reference = Element &;

  /** Stands at the end of no list. */
  ListIterator() noexcept = default;
  /**
   * Stands on a node.
   *
   * @param node the node; NULL for the end, from which it cannot go back.
   */
  explicit ListIterator(QNListNode *node) noexcept : node_(node) {}
  /**
   * Stands on a node of a list.
   *
   * @param list the list.
   * @param node the node; NULL for the end.
   */
  ListIterator(const QNList *list, QNListNode *node) noexcept : list_(list), node_(node) {}
  /**
   * Stands where an iterator stands through which elements can be changed.
   *
   * @param other that iterator.
   */
  template <typename Other, typename = std::enable_if_t<std::is_const_v<Element> &&
                                                        std::is_same_v<Other, value_type>>>
  ListIterator(const ListIterator<Other> &other) noexcept
      : list_(other.list()), node_(other.node()) {}

  /** @return the list; NULL if it is not known. */
  [[nodiscard]] const QNList *list() const noexcept { return list_; }
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
  ListIterator &operator++() noexcept {
    node_ = fnQNList_NextIter(node_);
    return *this;
  }
  /**
   * Goes on to the next element.
   *
   * @return an iterator where this one stood.
   */
  ListIterator operator++(int) noexcept {
    const ListIterator before = *this;
    ++*this;
    return before;
  }
  /**
   * Goes back to the element before; from the end to the last one.
   *
   * @return the iterator.
   */
  ListIterator &operator--() noexcept {
    node_ = node_ != nullptr ? fnQNList_PrevIter(node_) : fnQNList_EndIter(list_);
    return *this;
  }
  /**
   * Goes back to the element before; from the end to the last one.
   *
   * @return an iterator where this one stood.
   */
  ListIterator operator--(int) noexcept {
    const ListIterator before = *this;
    --*this;
    return before;
  }
  /** @return whether @p a and @p b stand on the same node, or both at an end. */
  friend bool operator==(ListIterator a, ListIterator b) noexcept { return a.node_ == b.node_; }
  /** @return whether @p a and @p b stand on different nodes. */
  friend bool operator!=(ListIterator a, ListIterator b) noexcept { return a.node_ != b.node_; }

 private:
  const QNList *list_ = nullptr;
  QNListNode *node_ = nullptr;
};

/**
 * The elements of a list that somebody else owns, such as one that a function of
 * the library gave. It is a view: it owns nothing, may be copied, and the list
 * must outlive it. An element may be removed while an iterator stands on another.
 *
 * @tparam Element the type of the elements, `const` where they are only looked
 *         at.
 */
template <typename Element>
class Range {
 public:
  /** The list's type: one that may be changed where its elements may. */
  using Record = std::conditional_t<std::is_const_v<Element>, const QNList, QNList>;
  /** What an algorithm copies. */
  using value_type = std::remove_const_t<Element>;
  /** What an iterator gives. */
  using reference = Element &;
  /** What an iterator gives that only looks. */
  using const_reference = const Element &;
  /** A number of elements. */
  using size_type = std::size_t;
  /** Not used by a list. */
  using difference_type = std::ptrdiff_t;
  /** Goes over the elements. */
  using iterator = ListIterator<Element>;
  /** Goes over the elements to look at them. */
  using const_iterator = ListIterator<const Element>;
  /** The same as iterator. */
  using Iterator = iterator;

  /**
   * The elements of a list.
   *
   * @param list the list; NULL has none.
   */
  explicit Range(Record *list) noexcept : list_(list) {}

  /** @return an iterator on the first element. */
  [[nodiscard]] iterator begin() const noexcept { return {list_, fnQNList_BeginIter(list_)}; }
  /** @return the iterator behind the last element. */
  [[nodiscard]] iterator end() const noexcept { return {list_, nullptr}; }
  /** @return an iterator on the first element, to look at. */
  [[nodiscard]] const_iterator cbegin() const noexcept { return begin(); }
  /** @return the iterator behind the last element, to look at. */
  [[nodiscard]] const_iterator cend() const noexcept { return end(); }
  /** @return the first element; there must be one. */
  [[nodiscard]] reference front() const noexcept { return *begin(); }
  /** @return the last element; there must be one. */
  [[nodiscard]] reference back() const noexcept { return *--end(); }
  /** @return the number of elements. */
  [[nodiscard]] size_type size() const noexcept {
    return list_ == nullptr ? 0 : static_cast<size_type>(fnQNList_GetCount(list_));
  }
  /** @return whether there are none. */
  [[nodiscard]] bool empty() const noexcept { return fnQNList_IsEmpty(list_) == 1; }

 private:
  Record *list_;
};

/**
 * Owns a list record, its nodes and its elements; may be moved, not copied.
 *
 * Its elements are pointers, as everywhere in the library: what is pushed is the
 * list's from then on, and is released by the function that the list was made
 * with. Elements that go elsewhere are taken out by the C functions, as by
 * fnQNList_RemoveFront().
 *
 * @tparam Element the type of the elements.
 */
template <typename Element>
class List {
 public:
  /** The type of the elements. */
  using value_type = Element;
  /** An element. */
  using reference = Element &;
  /** An element, to look at. */
  using const_reference = const Element &;
  /** What is pushed. */
  using pointer = Element *;
  /** What `->` of a const_iterator gives. */
  using const_pointer = const Element *;
  /** A number of elements. */
  using size_type = std::size_t;
  /** Not used by a list. */
  using difference_type = std::ptrdiff_t;
  /** Goes over the elements. */
  using iterator = ListIterator<Element>;
  /** Goes over the elements to look at them. */
  using const_iterator = ListIterator<const Element>;

  /**
   * Makes an empty list.
   *
   * @param release releases an element, as for fnQNList_Clear(); NULL where the
   *        elements are not the list's.
   */
  explicit List(QNListRelease release = &fnQN_Free) noexcept : release_(release) {}
  /** Releases all elements. */
  ~List() { clear(); }
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
    clear();
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
  [[nodiscard]] iterator begin() noexcept { return Range<Element>(&record_).begin(); }
  /** @return the iterator behind the last element. */
  [[nodiscard]] iterator end() noexcept { return Range<Element>(&record_).end(); }
  /** @return an iterator on the first element, to look at. */
  [[nodiscard]] const_iterator begin() const noexcept { return Looked().begin(); }
  /** @return the iterator behind the last element, to look at. */
  [[nodiscard]] const_iterator end() const noexcept { return Looked().end(); }
  /** @return an iterator on the first element, to look at. */
  [[nodiscard]] const_iterator cbegin() const noexcept { return Looked().begin(); }
  /** @return the iterator behind the last element, to look at. */
  [[nodiscard]] const_iterator cend() const noexcept { return Looked().end(); }

  /** @return the first element; there must be one. */
  [[nodiscard]] reference front() noexcept { return *begin(); }
  /** @return the first element, to look at; there must be one. */
  [[nodiscard]] const_reference front() const noexcept { return *begin(); }
  /** @return the last element; there must be one. */
  [[nodiscard]] reference back() noexcept { return *--end(); }
  /** @return the last element, to look at; there must be one. */
  [[nodiscard]] const_reference back() const noexcept { return *--end(); }
  /** @return the number of elements. */
  [[nodiscard]] size_type size() const noexcept { return Looked().size(); }
  /** @return whether there are none. */
  [[nodiscard]] bool empty() const noexcept { return Looked().empty(); }

  /**
   * Appends an element, which is the list's from then on, whatever comes: where
   * there is no memory for its node it is released at once.
   *
   * @param element the element; NULL is none.
   * @return whether it stands in the list.
   */
  bool push_back(pointer element) noexcept {
    return Keep(fnQNList_AddTail(&record_, element), element);
  }
  /**
   * Puts an element in front, under the same terms as push_back().
   *
   * @param element the element; NULL is none.
   * @return whether it stands in the list.
   */
  bool push_front(pointer element) noexcept {
    return Keep(fnQNList_AddFront(&record_, element), element);
  }
  /** Takes the first element out and releases it; does nothing if there is none. */
  void pop_front() noexcept { ReleaseElement(fnQNList_RemoveFront(&record_)); }
  /** Takes the last element out and releases it; does nothing if there is none. */
  void pop_back() noexcept { ReleaseElement(fnQNList_RemoveTail(&record_)); }
  /**
   * Takes an element out and releases it. The list looks for the node before it
   * from its head on.
   *
   * @param position stands on an element of this list; at the end nothing is
   *        done.
   * @return an iterator on the element behind it.
   */
  iterator erase(const_iterator position) noexcept {
    QNListNode *node = position.node();
    const iterator next(&record_, fnQNList_NextIter(node));
    void *element = fnQNList_GetData(node);
    fnQNList_Remove(&record_, node);
    ReleaseElement(element);
    return next;
  }
  /** Takes all elements out and releases them. */
  void clear() noexcept { fnQNList_Clear(&record_, release_); }
  /**
   * Exchanges the elements with those of another list; the functions that
   * release them go along.
   *
   * @param other the other list.
   */
  void swap(List &other) noexcept {
    std::swap(record_, other.record_);
    std::swap(release_, other.release_);
  }
  /** Exchanges the elements of @p a and @p b. */
  friend void swap(List &a, List &b) noexcept { a.swap(b); }

 private:
  Range<const Element> Looked() const noexcept { return Range<const Element>(&record_); }

  bool Keep(const QNListNode *node, void *element) noexcept {
    if (node == nullptr) ReleaseElement(element);
    return node != nullptr;
  }

  void ReleaseElement(void *element) const noexcept {
    if (element != nullptr && release_ != nullptr) release_(&element);
  }

  QNList record_ = {};
  QNListRelease release_;
};

/** @} */

}  // namespace qnstack

#endif
