// SPDX-License-Identifier: MIT
// The library decodes; here is what it gives as a string of this program's.
#include "text.h"

#include <algorithm>
#include <iterator>

#include "failure.h"
#include "qnstack/qnstack.h"

namespace qnget {
namespace {

struct Charset {
  uint32_t number;
  const char *name;
};

// Of any other set the library decodes nothing and hands the bytes on.
constexpr Charset kCharsets[] = {{QN_CHARSET_US_ASCII, "US-ASCII"},
                                 {QN_CHARSET_LATIN1, "ISO-8859-1"},
                                 {QN_CHARSET_UTF8, "UTF-8"},
                                 {QN_CHARSET_UCS2, "UCS-2"},
                                 {QN_CHARSET_UTF16, "UTF-16"}};

}  // namespace

std::string KnownCharsets() {
  std::string all;
  for (const Charset &charset : kCharsets) {
    if (!all.empty()) all += ", ";
    all += std::to_string(charset.number) + " (" + charset.name + ")";
  }
  return all;
}

std::string CheckCharset(const std::string &text) {
  const bool known = std::any_of(std::begin(kCharsets), std::end(kCharsets), [&](const Charset &c) {
    return text == std::to_string(c.number);
  });
  return known ? "" : "no character set '" + text + "'; there are " + KnownCharsets();
}

std::string TextFrom(uint32_t charset, const std::string &bytes) {
  auto length = static_cast<int32_t>(bytes.size());
  if (length == 0) return {};
  char *decoded = fnCharSet_DecodeString2Local(charset, bytes.data(), &length);
  if (decoded == nullptr) {
    throw Failure(kNotReceived, "the body is no text in the character set " +
                                    std::to_string(charset) + " with a byte-order mark");
  }
  std::string text(decoded, static_cast<size_t>(length));
  fnCharSet_CharSetFreeStringBuf(decoded);
  return text;
}

}  // namespace qnget
