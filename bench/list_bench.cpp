// SPDX-License-Identifier: MIT
// The list beside GLib's queue, which is a doubly linked list of untyped
// pointers with a tail and a count as well.
#include <glib.h>

#include <array>
#include <memory>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_list.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

constexpr std::size_t kElements = 100;

// Elements in no order, none of them twice.
std::array<int, kElements> elements = [] {
  std::array<int, kElements> values = {};
  for (std::size_t i = 0; i < kElements; ++i) values[i] = static_cast<int>(i * 37 % kElements);
  return values;
}();

int CompareInts(const void *a, const void *b) {
  return *static_cast<const int *>(a) - *static_cast<const int *>(b);
}

gint CompareIntsWithData(gconstpointer a, gconstpointer b, gpointer /*data*/) {
  return CompareInts(a, b);
}

struct OurList {
  OurList() {
    for (int &element : elements) fnQNList_AddTail(&list, &element);
  }
  ~OurList() { fnQNList_Clear(&list, nullptr); }
  OurList(const OurList &) = delete;
  OurList &operator=(const OurList &) = delete;
  QNList list = {};
};

struct TheirQueue {
  TheirQueue() {
    for (int &element : elements) g_queue_push_tail(&queue, &element);
  }
  ~TheirQueue() { g_queue_clear(&queue); }
  TheirQueue(const TheirQueue &) = delete;
  TheirQueue &operator=(const TheirQueue &) = delete;
  GQueue queue = G_QUEUE_INIT;
};

// A row whose contenders each work on a filled list of their own.
template <typename OurStep, typename TheirStep>
void OnFilled(const char *name, OurStep ours, const char *peer, TheirStep theirs) {
  Operation("list of 100", name)
      .Prepared(qnbench::kOurs,
                [ours] {
                  return
                      [ours, filled = std::make_shared<OurList>()] { ours(Opaque(&filled->list)); };
                })
      .Prepared(peer, [theirs] {
        return
            [theirs, filled = std::make_shared<TheirQueue>()] { theirs(Opaque(&filled->queue)); };
      });
}

void Building() {
  Operation("list of 100", "appended one by one, cleared")
      .By(qnbench::kOurs,
          [] {
            QNList list = {};
            for (int &element : elements) fnQNList_AddTail(&list, &element);
            Keep(list);
            fnQNList_Clear(&list, nullptr);
          })
      .By("GQueue", [] {
        GQueue queue = G_QUEUE_INIT;
        for (int &element : elements) g_queue_push_tail(&queue, &element);
        Keep(queue);
        g_queue_clear(&queue);
      });
  OnFilled(
      "one appended, one taken off the front",
      [](QNList *list) {
        fnQNList_AddTail(list, elements.data());
        Keep(fnQNList_RemoveFront(list));
      },
      "GQueue",
      [](GQueue *queue) {
        g_queue_push_tail(queue, elements.data());
        Keep(g_queue_pop_head(queue));
      });
  OnFilled(
      "one put in front, one taken off the tail",
      [](QNList *list) {
        fnQNList_AddFront(list, elements.data());
        Keep(fnQNList_RemoveTail(list));
      },
      "GQueue",
      [](GQueue *queue) {
        g_queue_push_head(queue, elements.data());
        Keep(g_queue_pop_tail(queue));
      });
}

void Removing() {
  OnFilled(
      "one inserted behind the middle and removed by its node",
      [](QNList *list) {
        QNListNode *middle = fnQNList_Find_ByNum(list, kElements / 2);
        fnQNList_Remove(list, fnQNList_AddAfter(list, middle, elements.data()));
      },
      "GQueue",
      [](GQueue *queue) {
        GList *middle = g_queue_peek_nth_link(queue, kElements / 2);
        g_queue_insert_after(queue, middle, elements.data());
        g_queue_delete_link(queue, middle->next);
      });
  OnFilled(
      "the middle found by identity, removed and appended again",
      [](QNList *list) {
        void *data = fnQNList_GetData(fnQNList_Find_ByNum(list, kElements / 2));
        fnQNList_Remove(list, fnQNList_Find(list, data));
        fnQNList_AddTail(list, data);
      },
      "GQueue",
      [](GQueue *queue) {
        gpointer data = g_queue_peek_nth(queue, kElements / 2);
        g_queue_remove(queue, data);
        g_queue_push_tail(queue, data);
      });
}

void Finding() {
  OnFilled(
      "last found by identity", [](QNList *list) { Keep(fnQNList_Find(list, &elements.back())); },
      "GQueue", [](GQueue *queue) { Keep(g_queue_find(queue, &elements.back())); });
  OnFilled(
      "last found by comparison",
      [](QNList *list) { Keep(fnQNList_CompareFind(list, &elements.back(), CompareInts)); },
      "GQueue",
      [](GQueue *queue) { Keep(g_queue_find_custom(queue, &elements.back(), CompareInts)); });
  OnFilled(
      "70th by its index",
      [](QNList *list) { Keep(fnQNList_GetData(fnQNList_Find_ByNum(list, 70))); }, "GQueue",
      [](GQueue *queue) { Keep(g_queue_peek_nth(queue, 70)); });
}

void Walking() {
  OnFilled(
      "walked by the iterator functions",
      [](QNList *list) {
        for (QNListNode *i = fnQNList_BeginIter(list); fnQNList_IsValid(i) != 0;
             i = fnQNList_NextIter(i)) {
          Keep(fnQNList_GetData(i));
        }
      },
      "GQueue",
      [](GQueue *queue) {
        for (GList *i = g_queue_peek_head_link(queue); i != nullptr; i = g_list_next(i)) {
          Keep(i->data);
        }
      });
  OnFilled(
      "walked by the fields of the nodes",
      [](QNList *list) {
        for (QNListNode *i = fnQNList_BeginIter(list); i != nullptr; i = i->next) Keep(i->data);
      },
      "GQueue",
      [](GQueue *queue) {
        for (GList *i = g_queue_peek_head_link(queue); i != nullptr; i = i->next) Keep(i->data);
      });
  OnFilled(
      "reversed", [](QNList *list) { fnQNList_Reverse(list); }, "GQueue",
      [](GQueue *queue) { g_queue_reverse(queue); });
}

// A list that is in order is sorted in a loop; the other order comes from
// turning it around, which costs little beside.
void Sorting() {
  OnFilled(
      "sorted, from the reverse order",
      [](QNList *list) {
        fnQNList_Sort(list, CompareInts);
        fnQNList_Reverse(list);
      },
      "GQueue",
      [](GQueue *queue) {
        g_queue_sort(queue, CompareIntsWithData, nullptr);
        g_queue_reverse(queue);
      });
}

}  // namespace

void qnbench::RegisterLists() {
  Building();
  Removing();
  Finding();
  Walking();
  Sorting();
}
