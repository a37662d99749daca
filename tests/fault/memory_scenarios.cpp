// SPDX-License-Identifier: MIT
// Uses of the library that need nothing but the heap.
#include <algorithm>
#include <array>
#include <string_view>

#include "fault/scenario.h"
#include "qnstack/Transcode.h"
#include "qnstack/qn_list.h"

namespace qntest {

namespace {

using namespace std::string_view_literals;

struct Text {
  uint32_t charset;
  std::string_view bytes;
  std::string_view decoded;
};
constexpr std::array<Text, 7> kTexts = {{
    {QN_CHARSET_US_ASCII, "a message"sv, "a message"sv},
    {QN_CHARSET_LATIN1, "caf\xE9"sv, "caf\xC3\xA9"sv},
    {QN_CHARSET_UTF8, "caf\xC3\xA9"sv, "caf\xC3\xA9"sv},
    {QN_CHARSET_UCS2, "\xFE\xFF\0a\x20\xAC"sv, "a\xE2\x82\xAC"sv},
    {QN_CHARSET_UCS2,
     "\xFF\xFE"
     "a\0\xAC\x20"sv,
     "a\xE2\x82\xAC"sv},
    {QN_CHARSET_UTF16,
     "\xFF\xFE"
     "a\0\x3D\xD8\x00\xDE"sv,
     "a\xF0\x9F\x98\x80"sv},
    {2026, "as it is"sv, "as it is"sv},
}};
constexpr std::string_view kUcs2WithoutMark = "\0a"sv;

// Decodes one text of each kind.
class Charsets : public Scenario {
 public:
  void Act() override {
    for (const Text &text : kTexts) Decode(text);
    auto length = static_cast<int32_t>(kUcs2WithoutMark.size());
    refused_unmarked_ =
        fnCharSet_DecodeString2Local(QN_CHARSET_UCS2, kUcs2WithoutMark.data(), &length) == nullptr;
  }

  bool Done() const override { return seen_ == std::string(kTexts.size(), '+'); }
  std::string Seen() const override { return seen_; }

  Verdict Judge(bool /*heap_refused*/) override {
    if (!refused_unmarked_) return Broken("a text without a mark was decoded");
    return seen_.find('!') == std::string::npos ? Verdict() : Broken("wrongly decoded: " + seen_);
  }

 private:
  void Decode(const Text &text) {
    auto length = static_cast<int32_t>(text.bytes.size());
    char *decoded = fnCharSet_DecodeString2Local(text.charset, text.bytes.data(), &length);
    if (decoded == nullptr) {
      seen_ += static_cast<size_t>(length) == text.bytes.size() ? '-' : '!';
    } else {
      seen_ += std::string_view(decoded, static_cast<size_t>(length)) == text.decoded ? '+' : '!';
    }
    fnCharSet_CharSetFreeStringBuf(decoded);
  }

  std::string seen_;  // for each text: + decoded, - refused, ! wrong
  bool refused_unmarked_ = false;
};

int CompareLetters(const void *a, const void *b) {
  return *static_cast<const char *>(a) - *static_cast<const char *>(b);
}

// Makes a list of letters, sorts it and reads it.
class Sort : public Scenario {
 public:
  void Act() override {
    QNList list = {};
    for (char &letter : letters_) {
      if (fnQNList_AddTail(&list, &letter) != nullptr) added_ += letter;
    }
    sorted_ = fnQNList_Sort(&list, CompareLetters) == &list;
    for (const QNListNode *node = list.head; node != nullptr; node = node->next) {
      found_ += *static_cast<const char *>(node->data);
    }
    fnQNList_Clear(&list, nullptr);
  }

  bool Done() const override { return sorted_ && added_.size() == letters_.size(); }
  std::string Seen() const override { return found_; }

  Verdict Judge(bool /*heap_refused*/) override {
    std::string expected = added_;
    if (sorted_) std::sort(expected.begin(), expected.end());
    return found_ == expected ? Verdict() : Broken("found " + found_ + " of " + added_);
  }

 private:
  std::string letters_ = "multimedia";
  std::string added_;
  std::string found_;
  bool sorted_ = false;
};

}  // namespace

std::vector<ScenarioKind> MemoryScenarios() {
  return {
      {.name = "charsets", .make = std::make_unique<Charsets>},
      {.name = "sort", .make = std::make_unique<Sort>},
  };
}

}  // namespace qntest
