// SPDX-License-Identifier: MIT
// Settings, record files and the cache on a heap that refuses and files that
// fail: whatever fails, nothing may break, leak or be left half done in memory,
// and all works again when the failures are over.
//
// Input: from the end backwards, the store, the failures, and the steps with
// what each does; what is left in front is the file.

#include <functional>
#include <string>
#include <vector>

#include "fuzz/fuzzer.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/cache_test.h"
#include "support/failing_heap.h"
#include "support/letter_list.h"
#include "support/recording_file_port.h"
#include "support/scripted_clock.h"
#include "support/text_list.h"

namespace {

using namespace qntest;

constexpr char kSettings[] = "/settings";
constexpr char kRecords[] = "/records";
constexpr int kMostSteps = 12;

// What fails, and when.
struct Failures {
  int first_refused = 0;  // allocation; 0 for none
  FailingHeap::Reach reach = FailingHeap::Reach::kOne;
  std::function<void()> script_files = [] {};
};

Failures NextFailures(FuzzedDataProvider *input) {
  static constexpr const char *kPrimitives[] = {
      "MoveFile",     "CopyFile",    "DeleteFile",    "WriteToFile", "AppendToFile",
      "ReadFromFile", "getFileSize", "isFileExisted", "MkDir",       "DelAllFiles"};
  Failures failures;
  if (input->ConsumeBool()) failures.first_refused = input->ConsumeIntegralInRange(1, 120);
  if (input->ConsumeBool()) failures.reach = FailingHeap::Reach::kRest;
  const std::string primitive = input->PickValueInArray(kPrimitives);
  const int nth = input->ConsumeIntegralInRange(1, 12);
  const auto kept = input->ConsumeIntegral<uint8_t>();
  switch (input->ConsumeIntegralInRange(0, 3)) {
    case 1:
      failures.script_files = [primitive, nth] { FilePort().Fail(primitive, nth); };
      break;
    case 2:
      failures.script_files = [nth] { FilePort().FailFrom(nth); };
      break;
    case 3:
      failures.script_files = [primitive, nth, kept] { FilePort().Tear(primitive, kept, nth); };
      break;
    default:
      break;
  }
  return failures;
}

// A store, by what a step does to it and what shows that it is whole.
class Store {
 public:
  virtual ~Store() = default;
  virtual const char *File() const = 0;
  virtual void Step(int action, const std::string &text) = 0;
  virtual void ExpectSound() const = 0;
  // Without failures.
  virtual void ExpectUsable() = 0;
};

class SettingsStore : public Store {
 public:
  ~SettingsStore() override { fnQNList_Clear(&list_, fnQNFS_INI_FreeNode); }
  const char *File() const override { return kSettings; }

  void Step(int action, const std::string &text) override {
    if (action == 0) fnQNFS_Load_INI_To_List(kSettings, &list_);
    if (action == 1) fnQNFS_INI_Write(kSettings, &list_, text.c_str(), "value");
    if (action == 2) fnQNFS_INI_WriteRAM(&list_, "key", text.c_str());
    if (action == 3) fnQNFS_Write_INI_To_File(kSettings, &list_);
  }

  void ExpectSound() const override {
    EXPECT_TRUE(qntest::IsSound(list_));
    for (const QNListNode *node = list_.head; node != nullptr; node = node->next) {
      EXPECT_NE(static_cast<const QNFSIniEntry *>(node->data)->key, nullptr);
    }
  }

  void ExpectUsable() override {
    std::string value(6, '?');
    EXPECT_EQ(fnQNFS_INI_Write(kSettings, &list_, "key", "value"), 1);
    EXPECT_EQ(fnQNFS_INI_Read(kSettings, &list_, "key", value.data()), 1);
    EXPECT_STREQ(value.c_str(), "value");
  }

 private:
  QNList list_ = {};
};

class RecordStore : public Store {
 public:
  ~RecordStore() override { fnQNList_Clear(&list_, fnQN_Free); }
  const char *File() const override { return kRecords; }

  void Step(int action, const std::string &text) override {
    if (action == 0) fnQNFS_Load_File_To_List(kRecords, &list_, qntest::ReadText);
    if (action == 1) fnQNFS_Append_List_To_File(kRecords, &list_, qntest::WriteText);
    if (action == 2) Add(text);
    if (action == 3) fnQNFS_Save_List_To_FileEx(kRecords, &list_, qntest::WriteText);
  }

  void ExpectSound() const override { EXPECT_TRUE(qntest::IsSound(list_)); }

  void ExpectUsable() override {
    EXPECT_EQ(fnQNFS_Save_List_To_File(kRecords, &list_, qntest::WriteText), 1);
    const int32_t count = fnQNList_GetCount(&list_);
    fnQNFS_Load_File_To_ListEx(kRecords, &list_, qntest::ReadText);
    EXPECT_GE(fnQNList_GetCount(&list_), count);
    EXPECT_TRUE(qntest::IsSound(list_));
  }

 private:
  void Add(const std::string &text) {
    char *copy = fnQN_STRDUP(text.c_str());
    if (copy != nullptr && fnQNList_AddTail(&list_, copy) == nullptr) fnQN_Free(&copy);
  }

  QNList list_ = {};
};

class CacheStore : public Store {
 public:
  ~CacheStore() override { fnQNStack_Cache_Free(); }
  const char *File() const override { return qntest::kIndexName; }

  void Step(int action, const std::string &text) override {
    constexpr int32_t kFresh = qntest::kNow + 5000;
    if (action == 0) {
      fnQNStack_Cache_Free();
      fnQNStack_Cache_Init();
    }
    if (action == 1) fnQNStack_Cache_FindbyUrl_NoExpired(text.c_str());
    if (action == 2) fnQNStack_Cache_Delete_All();
    if (action == 3) fnQNStack_Cache_Save(text.c_str(), "label", "body", 4, kFresh, 1);
  }

  void ExpectSound() const override {
    const QNList *list = fnQNFS_http_cache_list();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(qntest::IsSound(*list));
  }

  void ExpectUsable() override {
    fnQNStack_Cache_Free();  // an index that could not be loaded is loaded again
    fnQNStack_Cache_Init();
    EXPECT_EQ(fnQNStack_Cache_Save("url", nullptr, "body", 4, qntest::kNow + 5000, 1), 1);
    const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired("url");
    ASSERT_NE(entry, nullptr);
    char body[4] = {};
    EXPECT_EQ(fnQNStack_Cache_LoadFileToBuffer(entry->file_no, body, sizeof body), 0);
    EXPECT_EQ(std::string(body, sizeof body), "body");
  }
};

struct Action {
  int what;
  std::string text;
};

void Run(Store *store, const Failures &failures, const std::vector<Action> &actions,
         const std::string &file) {
  FilePort().Reset();
  FilePort().files().Write(store->File(), file);
  failures.script_files();
  {
    const FailingHeap heap(failures.first_refused, failures.reach);
    for (const Action &action : actions) store->Step(action.what, action.text);
  }
  FilePort().ClearFailures();
  store->ExpectSound();
  store->ExpectUsable();
}

template <typename T>
void RunOn(const Failures &failures, const std::vector<Action> &actions, const std::string &file) {
  T store;
  Run(&store, failures, actions, file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static constexpr void (*kStores[])(const Failures &, const std::vector<Action> &,
                                     const std::string &) = {RunOn<SettingsStore>,
                                                             RunOn<RecordStore>, RunOn<CacheStore>};
  FuzzedDataProvider input(data, size);
  const auto run = input.PickValueInArray(kStores);
  const Failures failures = NextFailures(&input);
  std::vector<Action> actions;
  for (int left = input.ConsumeIntegralInRange(0, kMostSteps); left > 0; --left) {
    actions.push_back({input.ConsumeIntegralInRange(0, 3),
                       std::string(input.ConsumeIntegralInRange<size_t>(0, 255), 'x')});
  }
  const std::string file = input.ConsumeRemainingBytesAsString();
  const qntest::ScriptedClock clock({.year = 2009, .month = 6, .day = 15, .hour = 12});
  run(failures, actions, file);
  return 0;
}
