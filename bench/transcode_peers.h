// SPDX-License-Identifier: MIT
// Texts in three kinds of writing, and the converters that the library's stand
// beside: the C library's and ICU's.
#ifndef QNSTACK_BENCH_TRANSCODE_PEERS_H
#define QNSTACK_BENCH_TRANSCODE_PEERS_H

#include <iconv.h>
#include <unicode/ucnv.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qnbench {

enum class Writing { kAscii, kLatin, kCjk };
inline constexpr Writing kWritings[] = {Writing::kAscii, Writing::kLatin, Writing::kCjk};

const char *NameOf(Writing writing);

// `count` characters of one writing.
std::vector<uint16_t> UnitsOf(Writing writing, std::size_t count);

// The bytes of `text` in another encoding, by iconv's names.
std::string Encoded(const std::vector<uint16_t> &text, const char *encoding);

// One way of the C library's.
class Iconv {
 public:
  Iconv(const char *to, const char *from) : converter_(iconv_open(to, from)) {}
  ~Iconv() { iconv_close(converter_); }
  Iconv(const Iconv &) = delete;
  Iconv &operator=(const Iconv &) = delete;

  // Number of bytes written.
  std::size_t Convert(const std::string &in, char *out, std::size_t room);

 private:
  iconv_t converter_;
};

// One way of ICU's, by way of its own encoding as its convenience call goes.
class IcuConverter {
 public:
  IcuConverter(const char *to, const char *from);
  ~IcuConverter();
  IcuConverter(const IcuConverter &) = delete;
  IcuConverter &operator=(const IcuConverter &) = delete;

  std::size_t Convert(const std::string &in, char *out, std::size_t room);

 private:
  UConverter *to_;
  UConverter *from_;
};

}  // namespace qnbench

#endif
