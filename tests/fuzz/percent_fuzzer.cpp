// SPDX-License-Identifier: MIT
// Percent-decoding and the text tools, each against a plain description of
// what it promises.
//
// Input: the last byte chooses the tool, the bytes before it are numbers. The
// rest is up to three texts, each ended by a backslash and another character.

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"
#include "qnstack/qn_stack_strings.h"
#include "qnstack/qn_stack_tools.h"
#include "qnstack/qn_stricmp.h"

namespace {

using namespace qntest;

constexpr std::size_t kMostText = 2000;

std::string NextText(FuzzedDataProvider *input) {
  const std::string bytes = input->ConsumeRandomLengthString(kMostText);
  return bytes.c_str();
}

int Sign(int number) { return number < 0 ? -1 : number > 0 ? 1 : 0; }

// A string that the library gave, freed.
std::string Taken(char *text) {
  EXPECT_NE(text, nullptr);
  const std::string copy = text == nullptr ? "" : text;
  fnQN_Free(&text);
  EXPECT_EQ(text, nullptr);
  return copy;
}

std::string PlainDecoded(const std::string &text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%' || i + 2 >= text.size() || text.substr(i, 3) == "%00") {
      decoded += text[i];
      continue;
    }
    const std::string digits = text.substr(i + 1, 2);
    const bool hex = std::all_of(digits.begin(), digits.end(),
                                 [](unsigned char digit) { return std::isxdigit(digit) != 0; });
    decoded += static_cast<char>(hex ? std::stoi(digits, nullptr, 16) : 0xFF);
    i += 2;
  }
  return decoded;
}

void TryPercent(FuzzedDataProvider *input) {
  const ExactText text(NextText(input));
  EXPECT_EQ(fnQNFS_URL_ZM(text.get()), 0);
  EXPECT_EQ(std::string(text.get()), PlainDecoded(text.text()));
}

void TryDigits(FuzzedDataProvider *input) {
  const ExactText text(NextText(input));
  uint32_t sum = 0;
  for (const char byte : text.text()) {
    sum = sum * 10 + static_cast<uint32_t>(static_cast<signed char>(byte)) - '0';
  }
  EXPECT_EQ(fnQNFS_StrToLong(text.get()), static_cast<int32_t>(sum));
  EXPECT_EQ(fnQN_ATOI(text.get()), static_cast<int>(std::strtol(text.text().c_str(), nullptr, 10)));
}

void TrySplitting(FuzzedDataProvider *input) {
  const ExactText text(NextText(input));
  const ExactText delimiters(NextText(input));
  const std::string &whole = text.text();
  auto position = input->ConsumeIntegralInRange<uint32_t>(0, 300);
  const uint32_t start = position;
  const std::size_t end =
      start > whole.size() ? start
                           : std::min(whole.find_first_of(delimiters.text(), start), whole.size());
  const std::string expected = start > whole.size() ? "" : whole.substr(start, end - start);
  EXPECT_EQ(Taken(fnQNStack_StrArraySplit(text.get(), delimiters.get(), &position)), expected);
  EXPECT_EQ(position, end);

  const std::size_t skipped = std::min(whole.find_first_not_of(delimiters.text()), whole.size());
  EXPECT_EQ(fnQNStack_StrArraySkip(text.get(), delimiters.get()), text.get() + skipped);
}

// All tokens and what stands between them make up the text.
void TryAllTokens(FuzzedDataProvider *input) {
  const ExactText text(NextText(input));
  const ExactText delimiters(NextText(input));
  std::string rebuilt;
  uint32_t position = 0;
  while (position < text.text().size()) {
    rebuilt += Taken(fnQNStack_StrArraySplit(text.get(), delimiters.get(), &position));
    char *next = fnQNStack_StrArraySkip(text.get() + position, delimiters.get());
    rebuilt.append(text.get() + position, next);
    position = static_cast<uint32_t>(next - text.get());
  }
  EXPECT_EQ(rebuilt, text.text());
}

void TryPrefixes(FuzzedDataProvider *input) {
  const ExactText text(NextText(input));
  const ExactText prefix(NextText(input));
  const bool long_enough = text.text().size() >= prefix.text().size();
  const bool folded = Lower(text.text()).starts_with(Lower(prefix.text()));
  EXPECT_EQ(fnQNStack_StrCMPI(text.get(), prefix.get()), !long_enough ? 1 : folded ? 0 : -1);
  EXPECT_EQ(fnQN_STRBEGINS(text.get(), prefix.get()),
            text.text().starts_with(prefix.text()) ? 1 : 0);
}

// 'B' to 'Y' alone are folded, and bytes are signed.
int PlainNarrowOrder(const std::string &a, const std::string &b, std::size_t n) {
  if (a.size() < n) return -1;
  if (b.size() < n) return 1;
  for (std::size_t i = 0; i < n; ++i) {
    const auto fold = [](char byte) {
      return static_cast<signed char>(byte >= 'B' && byte <= 'Y' ? byte + 32 : byte);
    };
    if (fold(a[i]) != fold(b[i])) return fold(a[i]) < fold(b[i]) ? -1 : 1;
  }
  return 0;
}

void TryComparing(FuzzedDataProvider *input) {
  const ExactText a(NextText(input));
  const ExactText b(NextText(input));
  const auto n = input->ConsumeIntegralInRange<uint32_t>(0, 255);
  const std::string lower_a = Lower(a.text());
  const std::string lower_b = Lower(b.text());
  EXPECT_EQ(fnQN_STRICMP(a.get(), b.get()), lower_a == lower_b ? 0 : -1);
  EXPECT_EQ(Sign(fnQNRTL_stricmp(a.get(), b.get())), Sign(lower_a.compare(lower_b)));
  EXPECT_EQ(Sign(fnQNRTL_strnicmp(a.get(), b.get(), n)),
            Sign(lower_a.substr(0, n).compare(lower_b.substr(0, n))));
  EXPECT_EQ(fnQN_STRNICMP(a.get(), b.get(), n), PlainNarrowOrder(a.text(), b.text(), n));
  EXPECT_EQ(Sign(fnQN_STRCMP(a.get(), b.get())), Sign(a.text().compare(b.text())));
  EXPECT_EQ(fnQN_STRNCMP(a.get(), b.get(), n), 0);
}

const char *AtOffset(const char *text, std::size_t offset) {
  return offset == std::string::npos ? nullptr : text + offset;
}

void TrySearching(FuzzedDataProvider *input) {
  const ExactText haystack(NextText(input));
  const ExactText needle(NextText(input));
  const std::string &text = haystack.text();
  const char *folded = AtOffset(haystack.get(), Lower(text).find(Lower(needle.text())));
  EXPECT_EQ(fnQN_STRISTR(haystack.get(), needle.get()), folded);
  EXPECT_EQ(stristr(haystack.get(), needle.get()), folded);
  EXPECT_EQ(fnQN_STRSTR(haystack.get(), needle.get()),
            AtOffset(haystack.get(), text.find(needle.text())));
  const auto byte = static_cast<char>(input->ConsumeIntegralInRange<int>(1, 255));
  EXPECT_EQ(fnQN_STRCHR(haystack.get(), byte), AtOffset(haystack.get(), text.find(byte)));
  EXPECT_EQ(fnQN_STRRCHR(haystack.get(), byte), AtOffset(haystack.get(), text.rfind(byte)));
}

// The area may hold zero bytes and has no terminator.
void TryAreas(FuzzedDataProvider *input) {
  const ExactText needle(NextText(input));
  const auto byte = input->ConsumeIntegral<uint8_t>();
  const std::string bytes = input->ConsumeRemainingBytesAsString();
  const Exact<char> area = ExactCopy(bytes);
  const std::size_t found =
      bytes.substr(0, bytes.size() - (bytes.empty() ? 0 : 1)).find(needle.text());
  const char *expected = bytes.empty() ? nullptr : AtOffset(area.get(), found);
  EXPECT_EQ(fnQN_MEMSTR(area.get(), needle.get(), area.length()), expected);
  EXPECT_EQ(fnQN_MEMCHR(area.get(), byte, area.size()),
            AtOffset(area.get(), bytes.find(static_cast<char>(byte))));
}

void TryAppending(FuzzedDataProvider *input) {
  const std::string start = NextText(input);
  const ExactText more(NextText(input));
  const auto n = input->ConsumeIntegralInRange<uint32_t>(0, 40);
  const auto room = [&start](std::size_t appended) {
    Exact<char> area(start.size() + appended + 1);
    start.copy(area.get(), start.size());
    return area;
  };
  const std::string part = more.text().substr(0, n);
  const Exact<char> bounded = room(part.size());
  EXPECT_EQ(fnQN_STRNCAT(bounded.get(), more.get(), n), bounded.get());
  EXPECT_EQ(std::string(bounded.get()), start + part);

  const bool refused = n >= 4 && n <= 7;
  const Exact<char> whole = room(more.text().size());
  EXPECT_EQ(fnQN_STRLCAT(whole.get(), more.get(), n), refused ? -1 : 0);
  EXPECT_EQ(std::string(whole.get()), refused ? start : start + more.text());
}

void TryCopying(FuzzedDataProvider *input) {
  const ExactText text(NextText(input));
  const auto size = static_cast<uint32_t>(text.text().size());
  EXPECT_EQ(Taken(fnQNStack_StrDup(text.get())), text.text());
  EXPECT_EQ(Taken(fnQN_StrDup(text.get())), text.text());
  EXPECT_EQ(Taken(fnQN_STRDUP(text.get())), text.text());
  EXPECT_EQ(Taken(fnQN_MEMSTRCOPY(text.get())), text.text());

  const Exact<char> raw(size + 1);
  EXPECT_EQ(fnQN_STRLCPY(raw.get(), text.get(), size + 1), 0);
  EXPECT_EQ(std::string(raw.get()), text.text());
  const Exact<char> padded(300);
  fnQN_STRNCPY(padded.get(), text.get(), padded.size());
  EXPECT_EQ(std::string(padded.get(), padded.size()).substr(0, size), text.text().substr(0, 300));

  const ExactText lower(text.text());
  EXPECT_EQ(fnQN_STRLOWER(lower.get()), 0);
  EXPECT_EQ(std::string(lower.get()), Lower(text.text()));
}

void TryNames(FuzzedDataProvider *input) {
  constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  const ExactText text(NextText(input));
  const std::size_t found = text.text().size() == 3 ? kMonths.find(text.text()) : 1;
  const bool is_month = found % 3 == 0 && found < kMonths.size();
  EXPECT_EQ(fnQNStack_getMonth(text.get()), is_month ? static_cast<int>(found / 3) + 1 : -1);
  if (text.text().size() < 3) {
    EXPECT_EQ(fnQNFS_getBak_FileName(text.get()), nullptr);
  } else {
    EXPECT_EQ(Taken(fnQNFS_getBak_FileName(text.get())), text.text() + ".bak");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static constexpr void (*kTrials[])(FuzzedDataProvider *) = {
      TryPercent,   TryDigits, TrySplitting, TryAllTokens, TryPrefixes, TryComparing,
      TrySearching, TryAreas,  TryAppending, TryCopying,   TryNames};
  FuzzedDataProvider input(data, size);
  input.PickValueInArray(kTrials)(&input);
  return 0;
}
