// SPDX-License-Identifier: MIT
#include "support/cache_test.h"

#include <algorithm>
#include <ostream>

#include "qn_stack_http_cache_internal.h"

namespace qntest {

std::ostream &operator<<(std::ostream &out, const CachedAnswer &answer) {
  return out << '{' << testing::PrintToString(answer.url) << ", "
             << testing::PrintToString(answer.label) << ", file " << answer.file_no << ", size "
             << answer.size << ", expires " << answer.expires << ", stored " << answer.stored_at
             << ", tag " << answer.tag << '}';
}

CachedAnswer AnswerOf(const QNCacheEntry &entry) {
  const auto text = [](const char *string) { return string != nullptr ? string : "(null)"; };
  return {text(entry.url), text(entry.label), entry.file_no, entry.size,
          entry.expires,   entry.stored_at,   entry.tag};
}

std::string IndexOf(const std::vector<CachedAnswer> &answers) {
  std::string bytes;
  for (const CachedAnswer &answer : answers) {
    bytes += answer.url + '\0' + answer.label + '\0';
    for (const int32_t number :
         {answer.file_no, answer.size, answer.expires, answer.stored_at, answer.tag}) {
      bytes += std::to_string(number) + '\0';
    }
  }
  return bytes;
}

std::vector<CachedAnswer> Answers(int count, int32_t expires, int32_t size, int32_t file_no) {
  std::vector<CachedAnswer> answers;
  for (int i = 0; i < count; ++i) {
    answers.push_back(
        {.url = "u" + std::to_string(i), .file_no = file_no + i, .size = size, .expires = expires});
  }
  return answers;
}

std::vector<std::string> IndexRead(size_t bytes) {
  return {"getFileSize(/wap/ca/ca.txt)", "isFileExisted(/wap/ca/ca.txt.bak)",
          "getFileSize(/wap/ca/ca.txt)",
          "ReadFromFile(/wap/ca/ca.txt, " + std::to_string(bytes + 10000) + ")"};
}

std::vector<std::string> IndexRewrite(size_t bytes) {
  return {"getFileSize(/wap/ca/ca.txt)",
          "DeleteFile(/wap/ca/ca.txt.bak)",
          "MoveFile(/wap/ca/ca.txt.bak, /wap/ca/ca.txt)",
          "CopyFile(/wap/ca/ca.txt, /wap/ca/ca.txt.bak)",
          "WriteToFile(" + std::to_string(bytes) + " bytes, /wap/ca/ca.txt)",
          "DeleteFile(/wap/ca/ca.txt.bak)"};
}

std::vector<std::string> InARow(const std::vector<std::vector<std::string>> &steps) {
  std::vector<std::string> calls;
  for (const std::vector<std::string> &step : steps) {
    calls.insert(calls.end(), step.begin(), step.end());
  }
  return calls;
}

void CacheTest::ResetCache() {
  fnQNStack_Cache_Free();
  SetCounters(0, 0);
  qn::cache_time = {};
  fnQNStack_Cache_setMode(2);
  FilePort().Reset();
}

void CacheTest::Start(const std::vector<CachedAnswer> &answers) {
  WriteIndex(answers);
  for (const CachedAnswer &answer : answers) {
    FilePort().files().Write("/wap/ca/" + std::to_string(answer.file_no), "body of " + answer.url);
  }
  fnQNStack_Cache_Init();
  FilePort().ClearCalls();
}

void CacheTest::WriteIndex(const std::vector<CachedAnswer> &answers) {
  FilePort().files().Write(kIndexName, IndexOf(answers));
}

void CacheTest::SetCounters(int32_t items, int32_t size) {
  qn::http_cache_items = items;
  qn::http_cache_size = size;
}

void CacheTest::ExpectCounters(int32_t items, int32_t size) {
  EXPECT_EQ(qn::http_cache_items, items);
  EXPECT_EQ(qn::http_cache_size, size);
}

std::vector<CachedAnswer> CacheTest::Held() {
  std::vector<CachedAnswer> answers;
  for (const QNListNode *node = fnQNList_BeginIter(qn::http_cache_list); node != nullptr;
       node = node->next) {
    answers.push_back(AnswerOf(*static_cast<const QNCacheEntry *>(node->data)));
  }
  return answers;
}

std::vector<std::string> CacheTest::HeldUrls() {
  const std::vector<CachedAnswer> answers = Held();
  std::vector<std::string> urls(answers.size());
  std::transform(answers.begin(), answers.end(), urls.begin(),
                 [](const CachedAnswer &answer) { return answer.url; });
  return urls;
}

std::string CacheTest::IndexFile() {
  return FilePort().files().Content(kIndexName).value_or("none");
}

}  // namespace qntest
