// SPDX-License-Identifier: MIT
// The settings store: a hostile file is loaded, and settings are read, written
// and saved, against a plain list of pairs and a plain model of the format.
//
// Input: from the end backwards, the number of steps and what each does; texts
// of steps come from the front, each ended by a backslash and another
// character. What is left in between is the file.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "fuzz/repeated.h"
#include "qnstack/qn_fs_ini.h"
#include "support/field_model.h"
#include "support/recording_file_port.h"
#include "support/settings_list.h"

namespace {

using namespace qntest;

constexpr char kName[] = "/settings.ini";
constexpr char kBackup[] = "/settings.ini.bak";
constexpr uint32_t kHeadroom = 10000;
constexpr int kMostSteps = 24;

enum class Action { kSet, kSetAndSave, kRead, kSave, kLoad };

struct Step {
  Action action;
  std::size_t known_key;  // of an entry by its index, unless there is none
  std::string key;
  std::string value;
};

std::string NextText(FuzzedDataProvider *input) {
  return input->ConsumeRandomLengthString(200).c_str();
}

Step NextStep(FuzzedDataProvider *input) {
  constexpr Action kActions[] = {Action::kSet, Action::kSetAndSave, Action::kRead, Action::kSave,
                                 Action::kLoad};
  constexpr std::size_t kRepeats[] = {1, 0, 2, 4000};
  constexpr std::size_t kNone = 10;
  Step step = {input->PickValueInArray(kActions), kNone, "", ""};
  if (step.action == Action::kSave || step.action == Action::kLoad) return step;
  step.known_key = input->ConsumeIntegralInRange<std::size_t>(0, kNone);
  if (step.known_key == kNone) step.key = NextText(input);
  if (step.action == Action::kRead) return step;
  const std::size_t repeats = input->PickValueInArray(kRepeats);
  const std::string value = NextText(input);
  for (std::size_t i = 0; i < repeats; ++i) step.value += value;
  return step;
}

// The store beside its model; every step is done to both.
class StoreAndModel {
 public:
  explicit StoreAndModel(const std::string &file) {
    fnQNFS_INI_List_Init(kName, list_.get());
    model_ = Parsed(file);
    ExpectSame();
  }

  void Do(Step step) {
    if (step.known_key < model_.size()) step.key = model_[step.known_key].first;
    switch (step.action) {
      case Action::kSet:
        Set(step);
        break;
      case Action::kSetAndSave:
        SetAndSave(step);
        break;
      case Action::kRead:
        Read(step.key);
        break;
      case Action::kSave:
        Save();
        break;
      case Action::kLoad:
        Load();
        break;
    }
    ExpectSame();
  }

 private:
  static Settings Parsed(const std::string &file) {
    Settings settings;
    qntest::FieldReader reader(file);
    while (!reader.IsEnd()) {
      const std::string key = reader.ReadString();
      settings.emplace_back(key, reader.ReadString());
    }
    return settings;
  }

  Settings::iterator Found(const std::string &key) {
    return std::find_if(model_.begin(), model_.end(),
                        [&key](const auto &setting) { return setting.first == key; });
  }

  void SetInModel(const Step &step) {
    const auto found = Found(step.key);
    if (found == model_.end()) {
      model_.emplace_back(step.key, step.value);
    } else {
      found->second = step.value;
    }
  }

  void Set(const Step &step) {
    EXPECT_EQ(fnQNFS_INI_WriteRAM(list_.get(), step.key.c_str(), step.value.c_str()), 1);
    SetInModel(step);
  }

  void SetAndSave(const Step &step) {
    const std::string before = FilePort().files().Content(kName).value_or("");
    EXPECT_EQ(fnQNFS_INI_Write(kName, list_.get(), step.key.c_str(), step.value.c_str()), 1);
    SetInModel(step);
    ExpectSaved(before.size());
  }

  void Read(const std::string &key) {
    const auto found = Found(key);
    const bool known = found != model_.end();
    const qntest::Exact<char> area(known ? found->second.size() + 1 : 0);
    EXPECT_EQ(fnQNFS_INI_Read(kName, list_.get(), key.c_str(), area.get()), known ? 1 : 0);
    if (known) EXPECT_EQ(std::string(area.get()), found->second);
  }

  void Save() {
    const std::string before = FilePort().files().Content(kName).value_or("");
    EXPECT_EQ(fnQNFS_Write_INI_To_File(kName, list_.get()), 1);
    ExpectSaved(before.size());
  }

  void Load() {
    fnQNFS_Load_INI_To_List(kName, list_.get());
    model_ = Parsed(FilePort().files().Content(kName).value_or(""));
  }

  void ExpectSaved(std::size_t size_before) {
    qntest::FieldWriter writer(static_cast<uint32_t>(size_before) + kHeadroom);
    for (const auto &[key, value] : model_) {
      writer.Put(key, key != "\n");
      writer.Put(value, value != "\n");
      writer.Put("\n", false);
    }
    EXPECT_EQ(FilePort().files().Content(kName), writer.Saved());
    EXPECT_FALSE(FilePort().files().Exists(kBackup));
  }

  void ExpectSame() { EXPECT_EQ(list_.Held(), model_); }

  qntest::SettingsList list_;
  Settings model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  enum { kFile, kBackupAlone, kLargerBackup };
  const int kind = input.ConsumeIntegralInRange<int>(kFile, kLargerBackup);
  std::vector<Step> steps;
  for (int left = input.ConsumeIntegralInRange(0, kMostSteps); left > 0; --left) {
    steps.push_back(NextStep(&input));
  }
  std::string file = input.ConsumeRemainingBytesAsString();
  FilePort().Reset();
  if (kind == kLargerBackup) {
    FilePort().files().Write(kName, "torn");
    file = qntest::Repeated(file, kHeadroom + 100);
  }
  FilePort().files().Write(kind == kFile ? kName : kBackup, file);
  StoreAndModel both(file);
  for (const Step &step : steps) both.Do(step);
  return 0;
}
