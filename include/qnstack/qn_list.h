/* SPDX-License-Identifier: MIT */
/**
 * @file qn_list.h
 * @brief The doubly linked list that holds every collection of the library.
 *
 * A list owns its nodes and never its elements: elements are untyped pointers
 * that the caller compares through a comparator and releases through a release
 * function. An iterator is a node pointer, NULL at the end; indices start at
 * 0. The list record belongs to the caller, who zeroes it with
 * fnQNList_Init() (or allocates it zero-filled) before the first use.
 */
#ifndef QNSTACK_QN_LIST_H
#define QNSTACK_QN_LIST_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup containers
 * @{
 */

/** One element of a list. */
typedef struct QNListNode {
  void *data;              /**< the caller's element; never NULL in a node of a list */
  struct QNListNode *prev; /**< previous node; NULL at the head */
  struct QNListNode *next; /**< next node; NULL at the tail */
} QNListNode;

/** A list; the record belongs to the caller, the nodes to the list. */
typedef struct QNList {
  QNListNode *head;  /**< first node; NULL when the list is empty */
  QNListNode *tail;  /**< last node; NULL when the list is empty */
  int32_t count;     /**< number of nodes */
  uint32_t reserved; /**< zeroed by fnQNList_Init(); the list never reads it, so the caller may
                          use it */
} QNList;

/**
 * Releases an element.
 *
 * @param address the address of a variable that holds the element's pointer,
 *        the shape of fnQN_Free(). What is done to that variable is ignored.
 */
typedef void (*QNListRelease)(void *address);

/**
 * Releases an element of a given type.
 *
 * @param address as for #QNListRelease.
 * @param type the value given to fnQNList_Clear_ByType().
 */
typedef void (*QNListReleaseByType)(void *address, int32_t type);

/**
 * Compares a key with an element (searching) or two elements (sorting).
 *
 * @param a the key, or the element that stands first.
 * @param b the element it is held against.
 * @return searching: 0 for a match. Sorting: above 0 when @p a belongs after
 *         @p b; 0 or less leaves the two as they are.
 */
typedef int (*QNListCompare)(const void *a, const void *b);

/**
 * Makes a list record empty; it frees nothing.
 *
 * @param list the record, or NULL, which is ignored.
 */
QN_API void fnQNList_Init(QNList *list);

/**
 * Tells whether a list is empty.
 *
 * @param list the list, or NULL.
 * @return 1 if @p list is NULL or has no first node, else 0.
 */
QN_API int32_t fnQNList_IsEmpty(const QNList *list);

/**
 * Number of elements.
 *
 * @param list the list, or NULL.
 * @return the count; -1 for NULL.
 */
QN_API int32_t fnQNList_GetCount(const QNList *list);

/**
 * Iterator to the first element.
 *
 * @param list the list, or NULL.
 * @return the first node; NULL for an empty or a NULL list.
 */
QN_API QNListNode *fnQNList_BeginIter(const QNList *list);

/**
 * Iterator to the last element (not past it).
 *
 * @param list the list, or NULL.
 * @return the last node; NULL for an empty or a NULL list.
 */
QN_API QNListNode *fnQNList_EndIter(const QNList *list);

/**
 * Tells whether an iterator stands on an element.
 *
 * @param iter the iterator.
 * @return 1 if it is not NULL, else 0.
 */
QN_API int32_t fnQNList_IsValid(const QNListNode *iter);

/**
 * The element an iterator stands on.
 *
 * @param iter the iterator, or NULL.
 * @return the element, still the caller's; NULL for NULL.
 */
QN_API void *fnQNList_GetData(const QNListNode *iter);

/**
 * Steps to the next element.
 *
 * @param iter the iterator, or NULL.
 * @return the next node; NULL at the end or for NULL.
 */
QN_API QNListNode *fnQNList_NextIter(const QNListNode *iter);

/**
 * Steps to the previous element.
 *
 * @param iter the iterator, or NULL.
 * @return the previous node; NULL at the head or for NULL.
 */
QN_API QNListNode *fnQNList_PrevIter(const QNListNode *iter);

/**
 * Appends an element, in constant time.
 *
 * @param list the list.
 * @param data the element; stays the caller's.
 * @return the new node; NULL, with the list unchanged, if an argument is NULL or
 *         the heap refuses.
 */
QN_API QNListNode *fnQNList_AddTail(QNList *list, void *data);

/**
 * Puts an element at the front, in constant time.
 *
 * @param list the list.
 * @param data the element; stays the caller's.
 * @return as fnQNList_AddTail().
 */
QN_API QNListNode *fnQNList_AddFront(QNList *list, void *data);

/**
 * Inserts an element immediately before a node.
 *
 * The list's `head` moves to the new node if it was @p node.
 *
 * @param list the list.
 * @param node a node of that list.
 * @param data the element; stays the caller's.
 * @return as fnQNList_AddTail().
 */
QN_API QNListNode *fnQNList_AddBefore(QNList *list, QNListNode *node, void *data);

/**
 * Inserts an element immediately after a node.
 *
 * The list's `tail` moves to the new node if it was @p node.
 *
 * @param list the list.
 * @param node a node of that list.
 * @param data the element; stays the caller's.
 * @return as fnQNList_AddTail().
 */
QN_API QNListNode *fnQNList_AddAfter(QNList *list, QNListNode *node, void *data);

/**
 * Unlinks a node and frees it, but not its element.
 *
 * A node that is not in the list leaves both the list and the node alone.
 * Constant time at either end, else a walk from the head.
 *
 * @param list the list, or NULL, which does nothing.
 * @param node the node, or NULL, which does nothing.
 */
QN_API void fnQNList_Remove(QNList *list, QNListNode *node);

/**
 * Removes the first node.
 *
 * @param list the list, or NULL.
 * @return its element, now the caller's alone; NULL if there was none.
 */
QN_API void *fnQNList_RemoveFront(QNList *list);

/**
 * Removes the last node, in constant time.
 *
 * @param list the list, or NULL.
 * @return its element, now the caller's alone; NULL if there was none.
 */
QN_API void *fnQNList_RemoveTail(QNList *list);

/**
 * Releases and removes the element at an index; the release comes first.
 *
 * An index above `count` is refused at once; any other is walked to from the
 * head.
 *
 * @param list the list, or NULL.
 * @param index 0-based position.
 * @param release called with the address of a copy of the element's pointer.
 * @return 1 if an element was removed; 0 for an index outside the list (a
 *         negative one included), or a NULL argument.
 */
QN_API int32_t fnQNList_Delete_ByNum(QNList *list, int32_t index, QNListRelease release);

/**
 * Empties a list from the front, releasing each element after its node is
 * gone.
 *
 * @param list the list, or NULL, which does nothing.
 * @param release called for each element that is not NULL; NULL releases none.
 */
QN_API void fnQNList_Clear(QNList *list, QNListRelease release);

/**
 * Empties a list as fnQNList_Clear() does, handing a type to the release
 * function.
 *
 * @param list the list, or NULL, which does nothing.
 * @param release called for each element that is not NULL; NULL releases none.
 * @param type passed through unchanged.
 */
QN_API void fnQNList_Clear_ByType(QNList *list, QNListReleaseByType release, int32_t type);

/**
 * Finds an element by identity.
 *
 * @param list the list, or NULL.
 * @param data the element's pointer, or NULL.
 * @return the first node that holds it; NULL if none does.
 */
QN_API QNListNode *fnQNList_Find(const QNList *list, const void *data);

/**
 * Finds an element by comparison, from the head on.
 *
 * @param list the list, or NULL.
 * @param key handed to @p cmp as its first argument; NULL finds nothing.
 * @param cmp gives 0 for a match; NULL finds nothing.
 * @return the first node that matches; NULL if none does.
 */
QN_API QNListNode *fnQNList_CompareFind(const QNList *list, const void *key, QNListCompare cmp);

/**
 * The node at an index.
 *
 * A negative index gives the head, unlike fnQNList_Delete_ByNum(); callers
 * rely on it.
 *
 * @param list the list, or NULL.
 * @param index 0-based position.
 * @return the node; NULL for a NULL or empty list or an index past its end.
 */
QN_API QNListNode *fnQNList_Find_ByNum(const QNList *list, int32_t index);

/**
 * Exchanges the elements of two nodes; the nodes stay where they are.
 *
 * @param a a node, or NULL, which does nothing.
 * @param b a node, or NULL, which does nothing.
 */
QN_API void fnQNList_Swap(QNListNode *a, QNListNode *b);

/**
 * Moves a node (not just its element) within its list, without allocating.
 *
 * @param list the list; NULL does nothing.
 * @param node a node of that list; NULL does nothing.
 * @param before the node of that list before which @p node shall stand; NULL
 *        moves it to the tail.
 */
QN_API void fnQNList_Move(QNList *list, QNListNode *node, QNListNode *before);

/**
 * Reverses the order of the nodes in place.
 *
 * @param list the list, or NULL, which does nothing.
 */
QN_API void fnQNList_Reverse(QNList *list);

/**
 * Sorts a list in ascending order by moving elements between its nodes.
 *
 * Not stable: equal elements may change places. Takes up to
 * count × (count − 1) / 2 comparisons, and count + 1 bytes of memory until it
 * returns.
 *
 * @param list the list, or NULL.
 * @param cmp above 0 when its first argument belongs after its second; NULL
 *        sorts nothing.
 * @return @p list; NULL, with nothing sorted, if an argument is NULL or the
 *         heap refuses.
 */
QN_API QNList *fnQNList_Sort(QNList *list, QNListCompare cmp);

/**
 * Frees the first element and its node only.
 *
 * It does not empty the list: use fnQNList_Clear() for that. Afterwards `head`
 * is NULL, `tail` and `count` keep their old values, and the other nodes cannot
 * be reached from the head any more. Call fnQNList_Init() before the list is used
 * again: fnQNList_AddTail() would link a new node to the old `tail`, which is
 * freed memory if the list had one node.
 *
 * @param list the list, or NULL, which does nothing; the element must come
 *        from the heap.
 */
QN_API void fnQNList_Free(QNList *list);

/** @} */

QN_END_DECLS

#endif
