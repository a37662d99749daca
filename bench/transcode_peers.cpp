// SPDX-License-Identifier: MIT
// The texts and the peers' converters; see the header.
#include "transcode_peers.h"

#include <cstdlib>
#include <cstring>

namespace {

uint16_t UnitOf(qnbench::Writing writing, std::size_t i) {
  switch (writing) {
    case qnbench::Writing::kAscii:
      return static_cast<uint16_t>('a' + i % 26);
    case qnbench::Writing::kLatin:  // every fifth letter has an accent
      return static_cast<uint16_t>(i % 5 == 0 ? 0xE0 + i % 30 : 'a' + i % 26);
    default:
      return static_cast<uint16_t>(0x4E00 + i * 7 % 0x5000);
  }
}

}  // namespace

namespace qnbench {

const char *NameOf(Writing writing) {
  switch (writing) {
    case Writing::kAscii:
      return "ASCII";
    case Writing::kLatin:
      return "Latin";
    default:
      return "CJK";
  }
}

std::vector<uint16_t> UnitsOf(Writing writing, std::size_t count) {
  std::vector<uint16_t> units(count);
  for (std::size_t i = 0; i < count; ++i) units[i] = UnitOf(writing, i);
  return units;
}

std::string Encoded(const std::vector<uint16_t> &text, const char *encoding) {
  std::string in(text.size() * sizeof text[0], '\0');
  std::memcpy(in.data(), text.data(), in.size());
  std::string out(4 * text.size() + 4, '\0');
  out.resize(Iconv(encoding, "UTF-16LE").Convert(in, out.data(), out.size()));
  return out;
}

std::size_t Iconv::Convert(const std::string &in, char *out, std::size_t room) {
  char *from = const_cast<char *>(in.data());
  char *to = out;
  std::size_t left = in.size();
  std::size_t rest = room;
  if (iconv(converter_, &from, &left, &to, &rest) != 0) std::abort();
  return room - rest;
}

IcuConverter::IcuConverter(const char *to, const char *from) {
  UErrorCode error = U_ZERO_ERROR;
  to_ = ucnv_open(to, &error);
  from_ = ucnv_open(from, &error);
  if (U_FAILURE(error)) std::abort();
}

IcuConverter::~IcuConverter() {
  ucnv_close(to_);
  ucnv_close(from_);
}

std::size_t IcuConverter::Convert(const std::string &in, char *out, std::size_t room) {
  UErrorCode error = U_ZERO_ERROR;
  const char *from = in.data();
  char *to = out;
  ucnv_convertEx(to_, from_, &to, out + room, &from, from + in.size(), nullptr, nullptr, nullptr,
                 nullptr, 1, 1, &error);
  if (U_FAILURE(error)) std::abort();
  return static_cast<std::size_t>(to - out);
}

}  // namespace qnbench
