// Transcoding against what the C library does: one megabyte of UTF-16LE in
// three kinds of text. Each of ours stands beside iconv in the same run.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qnstack/Transcode.h"

namespace {

constexpr std::size_t kBytes = 1 << 20;

enum Text { kAscii, kLatin, kCjk };
constexpr const char *kNames[] = {"ASCII", "Latin", "CJK"};

uint16_t UnitOf(Text text, std::size_t i) {
  switch (text) {
    case kAscii:
      return static_cast<uint16_t>('a' + i % 26);
    case kLatin:  // every fifth letter has an accent
      return static_cast<uint16_t>(i % 5 == 0 ? 0xE0 + i % 30 : 'a' + i % 26);
    default:
      return static_cast<uint16_t>(0x4E00 + i * 7 % 0x5000);
  }
}

// One megabyte, with a mark in front where that is wanted.
std::string TextOf(Text text, bool mark) {
  std::string bytes = mark ? std::string("\xFF\xFE", 2) : std::string();
  while (bytes.size() < kBytes) {
    const uint16_t unit = UnitOf(text, bytes.size() / 2);
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

Text TextIn(benchmark::State &state) {
  const auto text = static_cast<Text>(state.range(0));
  state.SetLabel(kNames[text]);
  return text;
}

void Iconv(benchmark::State &state) {
  std::string in = TextOf(TextIn(state), false);
  std::vector<char> out(2 * in.size() + 1);
  const iconv_t converter = iconv_open("UTF-8", "UTF-16LE");
  for (auto _ : state) {
    char *from = in.data();
    char *to = out.data();
    size_t left = in.size();
    size_t room = out.size();
    iconv(converter, &from, &left, &to, &room);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  iconv_close(converter);
}

void DecodeCharset1015(benchmark::State &state) {
  const std::string in = TextOf(TextIn(state), true);
  for (auto _ : state) {
    auto length = static_cast<int32_t>(in.size());
    char *out = fnCharSet_DecodeString2Local(QN_CHARSET_UTF16, in.data(), &length);
    benchmark::DoNotOptimize(out);
    fnCharSet_CharSetFreeStringBuf(out);
  }
}

void LittleEndianUcs2(benchmark::State &state) {
  const std::string in = TextOf(TextIn(state), false);
  std::vector<char> out(2 * in.size() + 1);
  for (auto _ : state) {
    LitEndianUCS2toUTF8(in.data(), static_cast<int32_t>(in.size()), out.data());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
}

BENCHMARK(Iconv)->DenseRange(kAscii, kCjk)->Unit(benchmark::kMicrosecond);
BENCHMARK(DecodeCharset1015)->DenseRange(kAscii, kCjk)->Unit(benchmark::kMicrosecond);
BENCHMARK(LittleEndianUcs2)->DenseRange(kAscii, kCjk)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
