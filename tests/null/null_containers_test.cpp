// SPDX-License-Identifier: MIT
// What NULL gives in the list, the buffer, the number formatting and the
// bounded printf.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>

#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_snprintf.h"
#include "qnstack/qn_stack_membuffer.h"

namespace {

int Equal(const void * /*a*/, const void * /*b*/) { return 0; }
void Release(void * /*address*/) { ADD_FAILURE() << "something was released"; }
void ReleaseByType(void * /*address*/, int32_t /*type*/) { ADD_FAILURE() << "as above"; }

// A list of the elements 'a' and 'b'.
class NullInList : public testing::Test {
 protected:
  NullInList() {
    fnQNList_AddTail(&list_, &elements_[0]);
    fnQNList_AddTail(&list_, &elements_[1]);
  }
  ~NullInList() override { fnQNList_Clear(&list_, nullptr); }

  std::string Elements() const {
    std::string text;
    for (const QNListNode *node = list_.head; node != nullptr; node = node->next) {
      text += *static_cast<const char *>(node->data);
    }
    return text;
  }

  char elements_[2] = {'a', 'b'};
  QNList list_ = {};
};

TEST_F(NullInList, AsListIsAnEmptyOneAndAsIteratorTheEnd) {
  EXPECT_EQ(fnQNList_IsValid(nullptr), 0);
  EXPECT_EQ(fnQNList_GetData(nullptr), nullptr);
  EXPECT_EQ(fnQNList_NextIter(nullptr), nullptr);
  EXPECT_EQ(fnQNList_PrevIter(nullptr), nullptr);
  fnQNList_Init(nullptr);
  EXPECT_EQ(fnQNList_IsEmpty(nullptr), 1);
  EXPECT_EQ(fnQNList_GetCount(nullptr), -1);
  EXPECT_EQ(fnQNList_BeginIter(nullptr), nullptr);
  EXPECT_EQ(fnQNList_EndIter(nullptr), nullptr);
  EXPECT_EQ(fnQNList_RemoveFront(nullptr), nullptr);
  EXPECT_EQ(fnQNList_RemoveTail(nullptr), nullptr);
  EXPECT_EQ(fnQNList_Find(nullptr, elements_), nullptr);
  EXPECT_EQ(fnQNList_CompareFind(nullptr, elements_, Equal), nullptr);
  EXPECT_EQ(fnQNList_Find_ByNum(nullptr, 0), nullptr);
  EXPECT_EQ(fnQNList_Delete_ByNum(nullptr, 0, Release), 0);
  EXPECT_EQ(fnQNList_Sort(nullptr, Equal), nullptr);
  EXPECT_EQ(fnQNFS_List_getPos(nullptr, elements_), -1);
  EXPECT_EQ(fnQNFS_List_MoveToHead(nullptr, elements_), -1);
}

TEST_F(NullInList, AsListIsLeftAlone) {
  fnQNList_Remove(nullptr, list_.head);
  fnQNList_Clear(nullptr, Release);
  fnQNList_Clear_ByType(nullptr, ReleaseByType, 1);
  fnQNList_Move(nullptr, list_.head, nullptr);
  fnQNList_Reverse(nullptr);
  fnQNList_Free(nullptr);

  EXPECT_EQ(Elements(), "ab");
}

TEST_F(NullInList, IsNotAdded) {
  char element = 'c';

  EXPECT_EQ(fnQNList_AddTail(nullptr, &element), nullptr);
  EXPECT_EQ(fnQNList_AddTail(&list_, nullptr), nullptr);
  EXPECT_EQ(fnQNList_AddFront(nullptr, &element), nullptr);
  EXPECT_EQ(fnQNList_AddFront(&list_, nullptr), nullptr);
  EXPECT_EQ(fnQNList_AddBefore(nullptr, list_.head, &element), nullptr);
  EXPECT_EQ(fnQNList_AddBefore(&list_, nullptr, &element), nullptr);
  EXPECT_EQ(fnQNList_AddBefore(&list_, list_.head, nullptr), nullptr);
  EXPECT_EQ(fnQNList_AddAfter(nullptr, list_.head, &element), nullptr);
  EXPECT_EQ(fnQNList_AddAfter(&list_, nullptr, &element), nullptr);
  EXPECT_EQ(fnQNList_AddAfter(&list_, list_.head, nullptr), nullptr);

  EXPECT_EQ(Elements(), "ab");
}

TEST_F(NullInList, IsNotFound) {
  EXPECT_EQ(fnQNList_Find(&list_, nullptr), nullptr);
  EXPECT_EQ(fnQNList_CompareFind(&list_, nullptr, Equal), nullptr);
  EXPECT_EQ(fnQNList_CompareFind(&list_, elements_, nullptr), nullptr);
  EXPECT_EQ(fnQNFS_List_getPos(&list_, nullptr), -1);
  EXPECT_EQ(fnQNFS_List_MoveToHead(&list_, nullptr), -1);
}

TEST_F(NullInList, AsNodeOrFunctionChangesNothing) {
  fnQNList_Remove(&list_, nullptr);
  fnQNList_Swap(nullptr, list_.head);
  fnQNList_Swap(list_.head, nullptr);
  fnQNList_Move(&list_, nullptr, list_.head);
  EXPECT_EQ(fnQNList_Sort(&list_, nullptr), nullptr);
  EXPECT_EQ(fnQNList_Delete_ByNum(&list_, 0, nullptr), 0);

  EXPECT_EQ(Elements(), "ab");
}

TEST_F(NullInList, AsPlaceIsBehindTheTailAndAsReleaseFunctionReleasesNothing) {
  fnQNList_Move(&list_, list_.head, nullptr);
  EXPECT_EQ(Elements(), "ba");
  fnQNList_Clear(&list_, nullptr);
  EXPECT_EQ(Elements(), "");
  fnQNList_AddTail(&list_, elements_);
  fnQNList_Clear_ByType(&list_, nullptr, 1);

  EXPECT_EQ(Elements(), "");
}

TEST(NullInBuffer, AsBufferDoesNothing) {
  char piece[2] = "x";

  fnQN_MemBuffer_Free(nullptr);
  fnQN_MemBuffer_Write(nullptr, "a", 1);
  fnQN_MemBuffer_WriteItem(nullptr, "a", "b");
  EXPECT_EQ(fnQN_MemBuffer_Read(nullptr, piece, 1), -1);
  EXPECT_EQ(fnQN_MemBuffer_unRead(nullptr, 0), -1);
  EXPECT_EQ(fnQN_MemBuffer_ReadBySubstr(nullptr, ","), nullptr);
  EXPECT_EQ(fnQN_MemBuffer_Printf(nullptr, "%d", 12), 2);
  EXPECT_EQ(fnQN_MemBufer_ClearContent(nullptr), nullptr);

  EXPECT_STREQ(piece, "x");
}

TEST(NullInBuffer, AsTextAppendsNothingAndAsDestinationOrDelimiterTakesNothing) {
  const std::unique_ptr<QNMemBuffer, void (*)(QNMemBuffer *)> buffer(fnQN_MemBuffer_New(8),
                                                                     fnQN_MemBuffer_Free);

  fnQN_MemBuffer_Write(buffer.get(), nullptr, 3);
  fnQN_MemBuffer_WriteItem(buffer.get(), nullptr, "b");
  fnQN_MemBuffer_WriteItem(buffer.get(), "a", nullptr);
  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), nullptr), -1);
  EXPECT_EQ(buffer->total, 0U);
  fnQN_MemBuffer_Write(buffer.get(), "a,b", 3);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 3), -1);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 1), -1);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 0), 0);
  EXPECT_EQ(fnQN_MemBuffer_ReadBySubstr(buffer.get(), nullptr), nullptr);

  EXPECT_EQ(buffer->cursor, 0U);
}

TEST(NullInNumbers, AsBufferIsGivenBack) {
  EXPECT_EQ(fnQNRTL_itoa(1, nullptr, 10), nullptr);
  EXPECT_EQ(fnQNRTL_ftoa(1.5, nullptr, 10), nullptr);
}

int32_t Format(char *buf, uint32_t len, const char *format, ...) {
  va_list args;
  va_start(args, format);
  // A call for each pointer, so that it is seen that none is left out.
  const int32_t result = buf == nullptr ? fnQNRTL_vsnprintf(nullptr, len, format, args)
                                        : fnQNRTL_vsnprintf(buf, len, nullptr, args);
  va_end(args);
  return result;
}

TEST(NullInPrintf, FormatsNothingButCountsIntoNoBytesAndShowsAString) {
  char text[8] = "text";
  const char *missing = nullptr;

  EXPECT_EQ(fnQNRTL_snprintf(nullptr, 8, "%d", 12), -1);
  EXPECT_EQ(fnQNRTL_snprintf(text, 8, nullptr), -1);
  EXPECT_EQ(Format(nullptr, 8, "%d", 12), -1);
  EXPECT_EQ(Format(text, 8, "", 12), -1);
  EXPECT_STREQ(text, "text");
  EXPECT_EQ(fnQNRTL_snprintf(nullptr, 0, "%d", 12), 2);
  EXPECT_EQ(Format(nullptr, 0, "%d", 12), 2);
  EXPECT_EQ(fnQNRTL_snprintf(text, sizeof text, "%s", missing), 6);

  EXPECT_STREQ(text, "(null)");
}

}  // namespace
