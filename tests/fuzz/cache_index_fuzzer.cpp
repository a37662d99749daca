// SPDX-License-Identifier: MIT
// The cache's index: a hostile index file is loaded, and answers are saved,
// found, thrown out and deleted on it, against a plain list of entries and a
// plain model of the file.
//
// Input: from the end backwards, the number of steps and what each does; URLs
// of steps come from the front, each ended by a backslash and another
// character. What is left in between is the index file.

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/cache_test.h"
#include "support/field_model.h"
#include "support/letter_list.h"
#include "support/recording_file_port.h"
#include "support/scripted_clock.h"

namespace {

using namespace qntest;

constexpr int kMostSteps = 24;
constexpr uint32_t kHeadroom = 10000;
constexpr int32_t kEntryLimit = 200;
constexpr int32_t kSizeLimit = 1048576;

enum class Action {
  kSave,
  kSaveAgain,
  kSaveOwnText,
  kFind,
  kFindFresh,
  kRead,
  kDeleteAll,
  kReload
};

struct Step {
  Action action;
  std::size_t known;  // an entry by its index, unless there is none
  std::string url;
  int32_t length;
  int32_t expires;
};

int32_t AnyLength(FuzzedDataProvider *input) {
  // Entries of any size come with the index; a body that fills the cache takes
  // long.
  constexpr int32_t kSpecial[] = {20000, kSizeLimit, -1};
  const auto choice = input->ConsumeIntegral<uint8_t>();
  return choice < 253 ? choice : kSpecial[choice - 253];
}

Step NextStep(FuzzedDataProvider *input) {
  constexpr Action kActions[] = {Action::kSave,      Action::kSaveAgain, Action::kSaveOwnText,
                                 Action::kFind,      Action::kFindFresh, Action::kRead,
                                 Action::kDeleteAll, Action::kReload};
  constexpr int32_t kLifetimes[] = {3600, 99, 100, 0, -1, INT32_MAX};
  Step step = {input->PickValueInArray(kActions), 0, "", 0, 0};
  step.known = input->ConsumeIntegral<uint8_t>();
  if (step.known == 255) step.url = input->ConsumeRandomLengthString(60).c_str();
  if (step.action > Action::kSaveOwnText) return step;
  step.length = AnyLength(input);
  step.expires = static_cast<int32_t>(static_cast<uint32_t>(kNow) +
                                      static_cast<uint32_t>(input->PickValueInArray(kLifetimes)));
  return step;
}

bool IsAnswer(const QNCacheEntry &entry, const CachedAnswer &answer) {
  return answer.url == entry.url && answer.label == entry.label &&
         answer.file_no == entry.file_no && answer.size == entry.size &&
         answer.expires == entry.expires && answer.stored_at == entry.stored_at &&
         answer.tag == entry.tag;
}

// The cache beside its model; every step is done to both.
class CacheAndModel {
 public:
  explicit CacheAndModel(const std::string &index) {
    FilePort().Reset();
    FilePort().files().Write(qntest::kIndexName, index);
    fnQNStack_Cache_Init();
    LoadModel();
    for (const CachedAnswer &answer : model_) size_ = Wrapped(int64_t{size_} + answer.size);
    items_ = static_cast<int32_t>(model_.size());
    ExpectSame();
  }
  ~CacheAndModel() {
    fnQNStack_Cache_Free();
    FilePort().Reset();
  }
  CacheAndModel(const CacheAndModel &) = delete;
  CacheAndModel &operator=(const CacheAndModel &) = delete;

  void Do(Step step) {
    if (step.url.empty() && step.known < model_.size()) step.url = model_[step.known].url;
    index_before_ = FilePort().files().Content(qntest::kIndexName).value_or("");
    switch (step.action) {
      case Action::kSave:
      case Action::kSaveAgain:
        Save(step);
        break;
      case Action::kSaveOwnText:
        SaveOwnText(step);
        break;
      case Action::kFind:
        Find(step.url);
        break;
      case Action::kFindFresh:
        FindFresh(step.url);
        break;
      case Action::kRead:
        ReadBody(step.known);
        break;
      case Action::kDeleteAll:
        DeleteAll();
        break;
      case Action::kReload:
        fnQNStack_Cache_Free();
        LoadModel();
        break;
    }
    ExpectSame();
  }

 private:
  // What the index on disk has now.
  void NoteNumbers() {
    numbers_on_disk_.clear();
    for (const CachedAnswer &answer : model_) numbers_on_disk_.insert(answer.file_no);
  }

  bool HasNumber(int32_t file_no) const {
    return numbers_on_disk_.count(file_no) != 0 ||
           std::any_of(model_.begin(), model_.end(),
                       [file_no](const CachedAnswer &other) { return other.file_no == file_no; });
  }

  void LoadModel() {
    model_.clear();
    qntest::FieldReader reader(FilePort().files().Content(qntest::kIndexName).value_or(""));
    while (!reader.IsEnd()) {
      CachedAnswer answer;
      answer.url = reader.ReadString();
      answer.label = reader.ReadString();
      for (int32_t *number :
           {&answer.file_no, &answer.size, &answer.expires, &answer.stored_at, &answer.tag}) {
        *number = qntest::PlainAtoi(reader.ReadString());
      }
      model_.push_back(answer);
    }
    NoteNumbers();
  }

  std::deque<CachedAnswer>::iterator Found(const std::string &url) {
    return std::find_if(model_.begin(), model_.end(),
                        [&url](const CachedAnswer &answer) { return answer.url == url; });
  }

  void TakeOff(const CachedAnswer &answer) {
    bodies_.erase(answer.file_no);
    items_ = Wrapped(int64_t{items_} - 1);
    size_ = Wrapped(int64_t{size_} - answer.size);
  }

  // Whether there is room in the model for one more answer, made as the cache
  // makes it.
  bool MakeRoom(const std::string &url, int32_t length) {
    const auto old = Found(url);
    if (old != model_.end()) TakeOff(*old);
    std::erase_if(model_, [this](const CachedAnswer &answer) {
      const bool stale = int64_t{answer.expires} - kNow <= 99;
      if (stale) TakeOff(answer);
      return stale;
    });
    while (int64_t{kEntryLimit} - items_ <= 1 || length >= int64_t{kSizeLimit} - size_) {
      if (model_.empty()) return false;
      TakeOff(model_.back());
      model_.pop_back();
    }
    return true;
  }

  void SaveInModel(const CachedAnswer &saved, const std::string &body) {
    CachedAnswer answer = saved;
    answer.file_no = qntest::kFileNoOfNow;
    answer.stored_at = kNow;
    while (HasNumber(answer.file_no)) ++answer.file_no;
    bodies_[answer.file_no] = body;
    model_.push_front(answer);
    ++items_;
    size_ += answer.size;
  }

  void Save(const Step &step) {
    static const std::string kBytes(kSizeLimit, 'b');
    const bool fits = MakeRoom(step.url, step.length) && step.length >= 0;
    const int32_t result = fnQNStack_Cache_Save(step.url.c_str(), nullptr, kBytes.data(),
                                                step.length, step.expires, 7);
    EXPECT_EQ(result, fits ? 1 : 0);
    if (!fits) return;
    SaveInModel({.url = step.url, .size = step.length, .expires = step.expires, .tag = 7},
                kBytes.substr(0, static_cast<std::size_t>(step.length)));
    ExpectIndexSaved();
  }

  // Key, label and body are strings of an entry that the save may throw out.
  void SaveOwnText(const Step &step) {
    const auto *entry = static_cast<const QNCacheEntry *>(fnQNList_GetData(
        fnQNList_Find_ByNum(fnQNFS_http_cache_list(), static_cast<int32_t>(step.known))));
    if (entry == nullptr) return;
    const CachedAnswer copy = qntest::AnswerOf(*entry);
    const auto length = static_cast<int32_t>(copy.label.size());
    const bool fits = MakeRoom(copy.url, length);
    const int32_t result = fnQNStack_Cache_Save(entry->url, entry->label, entry->label, length,
                                                step.expires, step.length);
    EXPECT_EQ(result, fits ? 1 : 0);
    if (!fits) return;
    SaveInModel({.url = copy.url,
                 .label = copy.label,
                 .size = length,
                 .expires = step.expires,
                 .tag = step.length},
                copy.label);
    ExpectIndexSaved();
  }

  void Find(const std::string &url) {
    const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl(url.c_str());
    const auto expected = Found(url);
    ASSERT_EQ(entry != nullptr, expected != model_.end());
    if (entry != nullptr) EXPECT_EQ(qntest::AnswerOf(*entry), *expected);
  }

  void FindFresh(const std::string &url) {
    const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(url.c_str());
    const auto expected = Found(url);
    const bool fresh = expected != model_.end() && expected->expires > kNow;
    ASSERT_EQ(entry != nullptr, fresh);
    if (!fresh) return;
    EXPECT_EQ(qntest::AnswerOf(*entry), *expected);
    if (expected - model_.begin() >= 100) return;
    const CachedAnswer moved = *expected;
    model_.erase(expected);
    model_.push_front(moved);
    ExpectIndexSaved();
  }

  void ReadBody(std::size_t known) {
    if (known >= model_.size()) return;
    const auto body = bodies_.find(model_[known].file_no);
    const std::string expected = body == bodies_.end() ? "" : body->second;
    const qntest::Exact<char> area(expected.size());
    const int32_t result =
        fnQNStack_Cache_LoadFileToBuffer(model_[known].file_no, area.get(), area.length());
    EXPECT_EQ(result == 0, body != bodies_.end());
    EXPECT_EQ(std::string(area.get(), area.size()), expected);
  }

  void DeleteAll() {
    EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
    model_.clear();
    bodies_.clear();
    index_before_.clear();
    ExpectIndexSaved();
    EXPECT_EQ(FilePort().files().Names(), std::vector<std::string>{qntest::kIndexName});
  }

  void ExpectIndexSaved() {
    qntest::FieldWriter writer(static_cast<uint32_t>(index_before_.size()) + kHeadroom);
    for (const CachedAnswer &answer : model_) {
      writer.Put(answer.url, answer.url != "\n");
      writer.Put(answer.label, answer.label != "\n");
      for (const int32_t number :
           {answer.file_no, answer.size, answer.expires, answer.stored_at, answer.tag}) {
        writer.Put(std::to_string(number), true);
      }
    }
    EXPECT_EQ(FilePort().files().Content(qntest::kIndexName), writer.Saved());
    NoteNumbers();
  }

  void ExpectSame() const {
    const QNList *list = fnQNFS_http_cache_list();
    EXPECT_TRUE(qntest::IsSound(*list));
    auto expected = model_.begin();
    for (const QNListNode *node = list->head; node != nullptr; node = node->next, ++expected) {
      ASSERT_NE(expected, model_.end());
      EXPECT_TRUE(IsAnswer(*static_cast<const QNCacheEntry *>(node->data), *expected));
    }
    EXPECT_EQ(expected, model_.end());
    EXPECT_EQ(qn::http_cache_items, items_);
    EXPECT_EQ(qn::http_cache_size, size_);
  }

  std::deque<CachedAnswer> model_;
  std::map<int32_t, std::string> bodies_;
  std::set<int32_t> numbers_on_disk_;
  std::string index_before_;
  int32_t items_ = 0;
  int32_t size_ = 0;
};

void DoAll(const std::string &index, const std::vector<Step> &steps) {
  CacheAndModel both(index);
  for (const Step &step : steps) both.Do(step);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  std::vector<Step> steps;
  for (int left = input.ConsumeIntegralInRange(0, kMostSteps); left > 0; --left) {
    steps.push_back(NextStep(&input));
  }
  const std::string index = input.ConsumeRemainingBytesAsString();
  const qntest::ScriptedClock clock({.year = 2009, .month = 6, .day = 15, .hour = 12});
  DoAll(index, steps);
  return 0;
}
