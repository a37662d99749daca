// SPDX-License-Identifier: MIT
// Guards that text people write comes out as the C library's converters have
// it, and that the one rule which is not Unicode's shows in just the scripts
// it touches.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "qnstack/Transcode.h"
#include "support/transcode_reference.h"

namespace {

using namespace qntest;

struct Sample {
  const char *script;
  const char *text;    // UTF-8
  bool has_far_leads;  // has characters from U+0400 to U+07FF
};

std::ostream &operator<<(std::ostream &out, const Sample &sample) { return out << sample.script; }

constexpr Sample kSamples[] = {
    {"Ascii", "Meet me at 7:30 by the old mill; bring both keys & a lamp.", false},
    {"German", "Grüße aus Köln: heiße Würstchen, süße Äpfel – 3,50 €!", false},
    {"French", "Où êtes-vous ? L’œuvre d’Anaïs a été reçue à Nîmes.", false},
    {"Polish", "Zażółć gęślą jaźń, a potem wróć do łodzi.", false},
    {"Turkish", "Iğdır'da güneş çok şiddetliydi, ışık İzmir'e vurdu.", false},
    {"Vietnamese", "Trời đẹp quá, chúng mình đi ăn phở nhé?", false},
    {"Greek", "Καλημέρα! Τα λέμε στις οκτώ μπροστά στο λιμάνι.", false},
    {"Russian", "Привет! Встретимся в восемь у старой мельницы.", true},
    {"Armenian", "Բարեւ, վաղը կգա՞ս մեզ մոտ։", true},
    {"Hebrew", "שלום, ניפגש בשמונה ליד הנמל.", true},
    {"Arabic", "مرحبا، نلتقي الساعة الثامنة قرب الميناء.", true},
    {"Hindi", "नमस्ते, हम आठ बजे पुरानी चक्की पर मिलेंगे।", false},
    {"Thai", "สวัสดี เจอกันแปดโมงที่ท่าเรือเก่า", false},
    {"Georgian", "გამარჯობა, რვაზე ძველ წისქვილთან შევხვდეთ.", false},
    {"Japanese", "こんにちは。八時に古い水車小屋の前で会いましょう。", false},
    {"Chinese", "你好,我们八点在老磨坊门口见。", false},
    {"Korean", "안녕하세요, 여덟 시에 낡은 방앗간 앞에서 만나요.", false},
    {"Symbols", "☎ → ✓ ½ ™ ∑ ≠ ♥ ￥ ﬁ \uFFFD", false},
};

// Characters of two units, which the converters of single units do not know.
constexpr Sample kPairSamples[] = {
    {"Emoji", "See you there 🌄🚲 – don't be late 😀!", false},
    {"Gothic", "\U00010330\U00010331 \U0001D11E \U0001F9ED", false},
};

std::vector<uint16_t> Units(const Sample &sample) {
  constexpr bool kBigEndian = std::endian::native == std::endian::big;
  const std::string bytes = Converted(kBigEndian ? "UTF-16BE" : "UTF-16LE", "UTF-8", sample.text);
  std::vector<uint16_t> units(bytes.size() / 2);
  std::memcpy(units.data(), bytes.data(), bytes.size());
  return units;
}

std::string Decoded(uint32_t charset, const std::string &bytes) {
  auto length = static_cast<int32_t>(bytes.size());
  char *text = fnCharSet_DecodeString2Local(charset, bytes.data(), &length);
  std::string result = text == nullptr ? "" : text;
  fnCharSet_CharSetFreeStringBuf(text);
  return result;
}

class TranscodeCorpus : public testing::TestWithParam<Sample> {};
class TranscodeUnitCorpus : public testing::TestWithParam<Sample> {};

TEST_P(TranscodeCorpus, Utf16OfEitherOrderIsReadAsTheCLibraryReadsIt) {
  const std::string text = GetParam().text;
  const std::string big_endian = Converted("UTF-16BE", "UTF-8", text);
  EXPECT_EQ(Decoded(kUtf16, big_endian), text);
  EXPECT_EQ(Decoded(kUtf16, "\xFE\xFF" + big_endian), text);
  EXPECT_EQ(Decoded(kUtf16, "\xFF\xFE" + Converted("UTF-16LE", "UTF-8", text)), text);
}

TEST_P(TranscodeUnitCorpus, UnitsAndUtf8AreWhatTheCLibraryMakesOfEachOther) {
  const std::string text = GetParam().text;
  const std::vector<uint16_t> units = Units(GetParam());
  std::string written(3 * units.size() + 1, '\x55');
  std::vector<uint16_t> read(text.size() + 1, 0x5555);

  UCS2toUTF8(units.data(), static_cast<int32_t>(units.size()), written.data());
  UTF8toUCS2(text.data(), static_cast<int32_t>(text.size()), read.data());

  EXPECT_EQ(written.c_str(), text);
  ASSERT_EQ(read[units.size()], 0);
  read.resize(units.size());
  EXPECT_EQ(read, units);
}

// The lead byte of two keeps four bits there, so U+0400 to U+07FF come out as
// other characters; all else is Unicode's.
TEST_P(TranscodeUnitCorpus, ByteStreamsDifferInScriptsOfFarLeadsAlone) {
  const std::string bytes = AsBytes(Units(GetParam()), false);
  std::string out(2 * bytes.size() + 1, '\x55');
  LitEndianUCS2toUTF8(bytes.data(), static_cast<int32_t>(bytes.size()), out.data());

  EXPECT_EQ(out.c_str(), ReferenceStream(bytes, false));
  EXPECT_EQ(std::string(out.c_str()) == GetParam().text, !GetParam().has_far_leads);
  EXPECT_EQ(Decoded(kUcs2, "\xFF\xFE" + bytes), out.c_str());
}

std::string ScriptOf(const testing::TestParamInfo<Sample> &sample) { return sample.param.script; }

INSTANTIATE_TEST_SUITE_P(Units, TranscodeCorpus, testing::ValuesIn(kSamples), ScriptOf);
INSTANTIATE_TEST_SUITE_P(Pairs, TranscodeCorpus, testing::ValuesIn(kPairSamples), ScriptOf);
INSTANTIATE_TEST_SUITE_P(Units, TranscodeUnitCorpus, testing::ValuesIn(kSamples), ScriptOf);

}  // namespace
