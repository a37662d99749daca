// SPDX-License-Identifier: MIT
// Record files: hostile files loaded into lists, and lists saved and appended,
// against plain lists of texts and a plain model of the format.
//
// Input: from the end backwards, the number of steps and what each does; texts
// of steps come from the front, each ended by a backslash and another
// character. What is left in between is the file.

#include <string>
#include <vector>

#include "fuzz/fuzzer.h"
#include "fuzz/repeated.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_share_string.h"
#include "support/field_model.h"
#include "support/recording_file_port.h"
#include "support/text_list.h"

namespace {

using qntest::FilePort;
using Texts = std::vector<std::string>;

constexpr char kName[] = "/records";
constexpr char kBackup[] = "/records.bak";
constexpr uint32_t kHeadroom = 10000;
constexpr int kMostSteps = 10;

enum class Action { kAdd, kLoad, kLoadInFront, kSave, kSaveBackwards, kAppend };

struct Step {
  Action action;
  std::string text;
};

Step NextStep(FuzzedDataProvider *input) {
  constexpr Action kActions[] = {Action::kAdd,  Action::kLoad,          Action::kLoadInFront,
                                 Action::kSave, Action::kSaveBackwards, Action::kAppend};
  constexpr std::size_t kRepeats[] = {1, 2, 500};
  Step step = {input->PickValueInArray(kActions), ""};
  if (step.action != Action::kAdd) return step;
  const std::size_t repeats = input->PickValueInArray(kRepeats);
  const std::string text = input->ConsumeRandomLengthString(60).c_str();
  for (std::size_t i = 0; i < repeats; ++i) step.text += text;
  return step;
}

std::string File() { return FilePort().files().Content(kName).value_or(""); }

class RecordsAndModel {
 public:
  ~RecordsAndModel() { FilePort().Reset(); }

  void Do(const Step &step) {
    switch (step.action) {
      case Action::kAdd:
        fnQNList_AddTail(list_.get(), fnQN_STRDUP(step.text.c_str()));
        model_.push_back(step.text);
        break;
      case Action::kLoad:
      case Action::kLoadInFront:
        Load(step.action == Action::kLoadInFront);
        break;
      case Action::kSave:
        EXPECT_EQ(fnQNFS_Save_List_To_File(kName, list_.get(), qntest::WriteText), Saved(model_));
        break;
      case Action::kSaveBackwards:
        EXPECT_EQ(fnQNFS_Save_List_To_FileEx(kName, list_.get(), qntest::WriteText),
                  Saved(Texts(model_.rbegin(), model_.rend())));
        break;
      case Action::kAppend:
        Append();
        break;
    }
    EXPECT_EQ(list_.Texts(), model_);
    EXPECT_EQ(File(), file_);
  }

  // A file that is there, or one that an unfinished save has left behind,
  // perhaps with the start of another.
  void Start(const std::string &content, bool unfinished, bool torn) {
    FilePort().Reset();
    FilePort().files().Write(unfinished ? kBackup : kName, content);
    if (unfinished && torn) FilePort().files().Write(kName, "torn");
    if (unfinished && torn) file_ = "torn";
    if (!unfinished) file_ = content;
    backup_ = unfinished ? content : "";
    has_backup_ = unfinished;
  }

 private:
  void Load(bool in_front) {
    if (has_backup_) file_ = backup_;
    has_backup_ = false;
    qntest::FieldReader reader(file_);
    Texts loaded;
    while (!reader.IsEnd()) loaded.push_back(reader.ReadString());
    if (in_front) {
      fnQNFS_Load_File_To_ListEx(kName, list_.get(), qntest::ReadText);
      model_.insert(model_.begin(), loaded.rbegin(), loaded.rend());
    } else {
      fnQNFS_Load_File_To_List(kName, list_.get(), qntest::ReadText);
      model_.insert(model_.end(), loaded.begin(), loaded.end());
    }
  }

  static std::string Image(const Texts &texts, std::size_t capacity) {
    qntest::FieldWriter writer(static_cast<uint32_t>(capacity));
    for (const std::string &text : texts) {
      writer.Put(text, text != "\n");
      writer.Put("\n", false);
    }
    return writer.Saved();
  }

  // The file as a save leaves it; gives what the save must give. A save puts
  // away what an unfinished one left.
  int32_t Saved(const Texts &texts) {
    has_backup_ = false;
    file_ = Image(texts, file_.size() + kHeadroom);
    return 1;
  }

  void Append() {
    EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list_.get(), qntest::WriteText), 1);
    has_backup_ = false;
    const Texts first(model_.begin(), model_.begin() + (model_.empty() ? 0 : 1));
    file_ += Image(first, kHeadroom);
  }

  qntest::TextList list_;
  Texts model_;
  std::string file_;
  std::string backup_;
  bool has_backup_ = false;
};

void DoAll(const std::string &file, int kind, const std::vector<Step> &steps) {
  RecordsAndModel both;
  both.Start(file, kind != 0, kind == 2);
  for (const Step &step : steps) both.Do(step);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  // A file, a backup alone, or a torn file and a much larger backup.
  const int kind = input.ConsumeIntegralInRange(0, 2);
  std::vector<Step> steps;
  for (int left = input.ConsumeIntegralInRange(0, kMostSteps); left > 0; --left) {
    steps.push_back(NextStep(&input));
  }
  std::string file = input.ConsumeRemainingBytesAsString();
  if (kind == 2) file = qntest::Repeated(file, kHeadroom + 100);
  DoAll(file, kind, steps);
  return 0;
}
