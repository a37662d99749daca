// SPDX-License-Identifier: MIT
// The typed file buffer: hostile bytes read field by field, and fields written
// into a buffer of any size, against a plain model of the format.
//
// Input: from the end backwards, whether to read or to write, and the steps;
// the rest is the file, or the texts that are written.

#include <algorithm>
#include <cstdlib>
#include <string>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_mem.h"
#include "support/calendar_reference.h"
#include "support/field_model.h"
#include "support/typed_buffer.h"

namespace {

using namespace qntest;

constexpr int kMostSteps = 64;

void ReadString(FuzzedDataProvider * /*input*/, QNFSBuffer *record, FieldReader *model) {
  char *field = fnQNFS_Buffer_ReadString(record);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(std::string(field), model->ReadString());
  fnQN_Free(&field);
}

void ReadNumber(FuzzedDataProvider *input, QNFSBuffer *record, FieldReader *model) {
  int32_t status = 7;
  const bool integer = input->ConsumeBool();
  const int32_t number = integer ? fnQNFS_Buffer_ReadInteger(record, &status)
                                 : fnQNFS_Buffer_ReadLong(record, &status);
  EXPECT_EQ(number, qntest::PlainAtoi(model->ReadString()));
  EXPECT_EQ(status, 0);
}

void ReadDateTime(FuzzedDataProvider * /*input*/, QNFSBuffer *record, FieldReader *model) {
  int32_t flag = 7;
  const QNTime time = fnQNFS_Buffer_ReadDateTime(record, &flag);
  EXPECT_EQ(time, qntest::PlainDateTime(model->ReadString()));
  EXPECT_EQ(flag, fnQNFS_Time_IsValid(time.year, time.month, time.day, time.hour, time.minute,
                                      time.second));
}

void ReadMem(FuzzedDataProvider *input, QNFSBuffer *record, FieldReader *model) {
  const auto length = input->ConsumeIntegralInRange<int32_t>(-1, 200);
  const qntest::Exact<char> area(static_cast<std::size_t>(std::max(length, 0)));
  fnQNFS_Buffer_ReadMem(record, length, area.get());
  if (length < 0) return;
  EXPECT_EQ(std::string(area.get(), area.size()), model->ReadMem(area.size()));
}

void TryReading(FuzzedDataProvider *input) {
  static constexpr void (*kSteps[])(FuzzedDataProvider *, QNFSBuffer *, FieldReader *) = {
      ReadString, ReadNumber, ReadDateTime, ReadMem};
  std::string choices;
  for (int left = input->ConsumeIntegralInRange(0, kMostSteps); left > 0; --left) {
    choices += input->ConsumeIntegral<char>();
  }
  FuzzedDataProvider steps(reinterpret_cast<const uint8_t *>(choices.data()), choices.size());
  const std::string content = input->ConsumeRemainingBytesAsString();
  TypedBuffer buffer{std::string_view(content)};
  FieldReader model(content);
  while (steps.remaining_bytes() > 0) {
    steps.PickValueInArray(kSteps)(&steps, buffer.get(), &model);
    EXPECT_EQ(buffer->pos, model.Position());
    EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), model.IsEnd() ? 1 : 0);
  }
}

void WriteString(FuzzedDataProvider *input, QNFSBuffer *record, FieldWriter *model) {
  const qntest::ExactText text(input->ConsumeRandomLengthString(100));
  const auto length = static_cast<int32_t>(text.text().size());
  fnQNFS_Buffer_WriteString(record, text.get(), length);
  model->Put(text.text(), text.text() != "\n");
}

void WriteMem(FuzzedDataProvider *input, QNFSBuffer *record, FieldWriter *model) {
  const std::string bytes = input->ConsumeRandomLengthString(100);
  const qntest::Exact<char> block = qntest::ExactCopy(bytes);
  fnQNFS_Buffer_WriteMem(record, block.get(), block.length());
  model->Put(bytes, true);
}

void WriteNumber(FuzzedDataProvider *input, QNFSBuffer *record, FieldWriter *model) {
  const auto number = input->ConsumeIntegral<int32_t>();
  if (input->ConsumeBool()) {
    fnQNFS_Buffer_WriteInteger(record, number);
  } else {
    fnQNFS_Buffer_WriteLong(record, number);
  }
  model->Put(std::to_string(number), true);
}

void WriteDateTime(FuzzedDataProvider *input, QNFSBuffer *record, FieldWriter *model) {
  QNTime time = {};
  std::string text;
  for (uint32_t *field :
       {&time.year, &time.month, &time.day, &time.hour, &time.minute, &time.second, &time.extra}) {
    *field = input->ConsumeBool() ? input->ConsumeIntegral<uint32_t>()
                                  : input->ConsumeIntegralInRange<uint32_t>(0, 60);
    text += (text.empty() ? "" : ":") + std::to_string(*field);
  }
  fnQNFS_Buffer_WriteDateTime(record, time);
  model->Put(text.substr(0, 34), true);
}

void WriteLine(FuzzedDataProvider *input, QNFSBuffer *record, FieldWriter *model) {
  const qntest::ExactText text(input->ConsumeRandomLengthString(100));
  fnQNFS_Buffer_WriteLine(record, text.get());
  model->Put(text.text(), text.text() != "\n");
  model->Put("\n", false);
}

void WriteTag(FuzzedDataProvider * /*input*/, QNFSBuffer *record, FieldWriter *model) {
  fnQNFS_Buffer_WriteLineTag(record);
  model->Put("\n", false);
}

void TryWriting(FuzzedDataProvider *input) {
  static constexpr void (*kSteps[])(FuzzedDataProvider *, QNFSBuffer *, FieldWriter *) = {
      WriteString, WriteMem, WriteNumber, WriteDateTime, WriteLine, WriteTag};
  const auto capacity = input->ConsumeIntegralInRange<uint32_t>(0, 600);
  TypedBuffer buffer(capacity);
  FieldWriter model(capacity);
  for (int left = kMostSteps; left > 0 && input->remaining_bytes() > 0; --left) {
    input->PickValueInArray(kSteps)(input, buffer.get(), &model);
    EXPECT_EQ(buffer.Places(), model.Places());
    EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), model.IsEnd() ? 1 : 0);
  }
  // What the storage holds; empty fields go on counting behind it.
  const std::string &image = model.Image();
  EXPECT_EQ(std::string(buffer->data, image.size()), image);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  if (input.ConsumeBool()) {
    TryWriting(&input);
  } else {
    TryReading(&input);
  }
  return 0;
}
