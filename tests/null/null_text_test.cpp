// SPDX-License-Identifier: MIT
// What NULL gives in the character sets, the dates and the small tools.
#include <gtest/gtest.h>

#include <cstdint>

#include "qnstack/Transcode.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_stack_http_cache.h"

namespace {

TEST(NullInCharsets, ConvertsNothing) {
  const uint16_t unit = 'a';
  const uint32_t value = 'a';
  char out[8] = "out";
  uint16_t units[2] = {7, 7};
  uint32_t values[2] = {7, 7};

  BigEndianUCS2toUTF8(nullptr, 2, out);
  LitEndianUCS2toUTF8(nullptr, 2, out);
  UCS2toUTF8(nullptr, 1, out);
  UCS4toUTF8(nullptr, 1, out);
  UTF8toUCS2(nullptr, 1, units);
  EXPECT_EQ(UTF16toUCS4(nullptr, 2, values), 0);
  BigEndianUCS2toUTF8("\0a", 2, nullptr);
  LitEndianUCS2toUTF8("a\0", 2, nullptr);
  UCS2toUTF8(&unit, 1, nullptr);
  UCS4toUTF8(&value, 1, nullptr);
  UTF8toUCS2("a", 1, nullptr);
  EXPECT_EQ(UTF16toUCS4("\0a", 2, nullptr), 0);

  EXPECT_STREQ(out, "out");
  EXPECT_EQ(units[0], 7);
  EXPECT_EQ(values[0], 7U);
}

TEST(NullInCharsets, IsNotDecoded) {
  int32_t length = 1;

  EXPECT_EQ(fnCharSet_DecodeString2Local(QN_CHARSET_UTF8, nullptr, &length), nullptr);
  EXPECT_EQ(fnCharSet_DecodeString2Local(QN_CHARSET_UTF8, "a", nullptr), nullptr);
  fnCharSet_CharSetFreeStringBuf(nullptr);

  EXPECT_EQ(length, 1);
}

TEST(NullInDates, IsNoDate) {
  EXPECT_EQ(JULIANTOSECONDS(nullptr), 0U);
  EXPECT_EQ(fnQNFS_DaysInMonth(nullptr), 0U);
  EXPECT_EQ(parse_date_str(nullptr), -1);
  EXPECT_EQ(fnQNStack_getMonth(nullptr), -1);
}

TEST(NullInDates, ReceivesNothing) {
  GETJULIANDATE(0, nullptr);
  fnQNFS_InitTimeStructure(nullptr);
  fnQNFS_CopyTime(nullptr, 1, 1, 1, 1, 1, 1, 1);
  fnQNFS_TimeAdd(nullptr, 1);
  EXPECT_EQ(date_to_httpDate(0, nullptr), 0);
  EXPECT_EQ(fnQNFS_LocalTime(nullptr), nullptr);
  EXPECT_EQ(fnQNFS_SysTime(nullptr), nullptr);
}

TEST(NullInTools, IsNeitherFilledNorCalledNorLogged) {
  QNFSCallBack record = {};

  GETRAND(nullptr, 4);
  fnQNFS_getPseudoRandom(nullptr, 4);
  EXPECT_EQ(fnQNFS_SetTimer(1, 1, nullptr, 0), 1);
  EXPECT_EQ(fnQNFS_CallBackOper(nullptr, 1, 2, 3, 4, 5, 6, 7), 0);
  EXPECT_EQ(fnQNFS_CallBackOper(&record, 1, 2, 3, 4, 5, 6, 7), 0);
  fnQNFS_printLog_param("/source", 1);
  fnQNFS_printLog_param(nullptr, 1);
  fnQNFS_printLog(nullptr);
}

TEST(NullInTools, IsNoText) {
  EXPECT_EQ(fnQNFS_URL_ZM(nullptr), -1);
  EXPECT_EQ(fnQNFS_StrToLong(nullptr), 0);
  EXPECT_EQ(stristr(nullptr, ""), nullptr);
  EXPECT_EQ(stristr("a", nullptr), nullptr);
}

}  // namespace
