// SPDX-License-Identifier: MIT
// Converters between the Unicode forms, and the character sets of messages:
// half a million characters in three kinds of writing.
#include <unicode/ustring.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/Transcode.h"
#include "transcode_peers.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;
using qnbench::Writing;

constexpr std::size_t kCharacters = 512 * std::size_t{1024};  // a megabyte of UTF-16
constexpr std::size_t kShortText = 40;                        // a subject line
constexpr std::size_t kMostBytes = 6;                         // of one character, in any form here

int32_t Length(std::size_t size) { return static_cast<int32_t>(size); }

// A step of `converter`, which has an open peer's Convert().
template <typename Peer>
auto PeerStep(const std::shared_ptr<Peer> &peer, const std::string &in) {
  return [=, out = std::vector<char>(kMostBytes * in.size() + 8)]() mutable {
    Keep(peer->Convert(in, out.data(), out.size()));
  };
}

// Adds the two general converters to a row.
void AddPeers(Operation &row, const char *to, const char *from, const std::string &in) {
  row.Prepared("iconv", [=] { return PeerStep(std::make_shared<qnbench::Iconv>(to, from), in); });
  row.Prepared("ICU converter",
               [=] { return PeerStep(std::make_shared<qnbench::IcuConverter>(to, from), in); });
}

// A contender that writes `Out` units into a buffer of its own.
template <typename Out, typename Convert>
auto Into(std::size_t room, Convert convert) {
  return [=, out = std::vector<Out>(room)]() mutable {
    convert(out.data());
    Keep(out.data());
  };
}

void StreamToUtf8(Writing writing, std::size_t characters, const char *size) {
  const auto units = qnbench::UnitsOf(writing, characters);
  const std::string little = qnbench::Encoded(units, "UTF-16LE");
  const std::string big = qnbench::Encoded(units, "UTF-16BE");
  const std::string label = std::string(qnbench::NameOf(writing)) + size;

  Operation from_little("transcoding", "UTF-16LE to UTF-8, " + label);
  from_little.By(qnbench::kOurs, Into<char>(3 * characters + 1, [=](char *out) {
                   LitEndianUCS2toUTF8(Opaque(little.data()), Length(little.size()), out);
                 }));
  AddPeers(from_little, "UTF-8", "UTF-16LE", little);

  Operation from_big("transcoding", "UTF-16BE to UTF-8, " + label);
  from_big.By(qnbench::kOurs, Into<char>(3 * characters + 1, [=](char *out) {
                BigEndianUCS2toUTF8(Opaque(big.data()), Length(big.size()), out);
              }));
  AddPeers(from_big, "UTF-8", "UTF-16BE", big);
}

void UnitsToUtf8(Writing writing) {
  const auto units = qnbench::UnitsOf(writing, kCharacters);
  Operation row("transcoding", std::string("UCS-2 units to UTF-8, ") + qnbench::NameOf(writing));
  row.By(qnbench::kOurs, Into<char>(3 * kCharacters + 1, [=](char *out) {
           UCS2toUTF8(Opaque(units.data()), Length(units.size()), out);
         }));
  row.By("ICU u_strToUTF8", Into<char>(3 * kCharacters + 1, [=](char *out) {
           UErrorCode error = U_ZERO_ERROR;
           const auto *in = reinterpret_cast<const UChar *>(Opaque(units.data()));
           u_strToUTF8(out, 3 * kCharacters + 1, nullptr, in, Length(units.size()), &error);
         }));
  AddPeers(row, "UTF-8", "UTF-16LE", qnbench::Encoded(units, "UTF-16LE"));
}

void Utf8ToUnits(Writing writing) {
  const std::string utf8 = qnbench::Encoded(qnbench::UnitsOf(writing, kCharacters), "UTF-8");
  Operation row("transcoding", std::string("UTF-8 to UCS-2, ") + qnbench::NameOf(writing));
  row.By(qnbench::kOurs, Into<uint16_t>(utf8.size() + 1, [=](uint16_t *out) {
           UTF8toUCS2(Opaque(utf8.data()), Length(utf8.size()), out);
         }));
  row.By("ICU u_strFromUTF8", Into<UChar>(utf8.size() + 1, [=](UChar *out) {
           UErrorCode error = U_ZERO_ERROR;
           u_strFromUTF8(out, Length(utf8.size() + 1), nullptr, Opaque(utf8.data()),
                         Length(utf8.size()), &error);
         }));
  AddPeers(row, "UTF-16LE", "UTF-8", utf8);
}

void Ucs4(Writing writing) {
  const auto units = qnbench::UnitsOf(writing, kCharacters);
  const std::string utf16 = qnbench::Encoded(units, "UTF-16BE");
  const std::vector<uint32_t> values(units.begin(), units.end());
  const std::string label = qnbench::NameOf(writing);

  Operation from_utf16("transcoding", "UTF-16BE to UCS-4, " + label);
  from_utf16.By(qnbench::kOurs, Into<uint32_t>(kCharacters + 1, [=](uint32_t *out) {
                  UTF16toUCS4(Opaque(utf16.data()), Length(utf16.size()), out);
                }));
  AddPeers(from_utf16, "UTF-32LE", "UTF-16BE", utf16);

  Operation to_utf8("transcoding", "UCS-4 to UTF-8, " + label);
  to_utf8.By(qnbench::kOurs, Into<char>(6 * kCharacters + 1, [=](char *out) {
               UCS4toUTF8(Opaque(values.data()), Length(values.size()), out);
             }));
  AddPeers(to_utf8, "UTF-8", "UTF-32LE", qnbench::Encoded(units, "UTF-32LE"));
}

// What a user of a general converter does with a text whose length in UTF-8 is
// not known: room for the worst, a conversion, a terminator.
template <typename Peer>
auto DecodeStep(const std::shared_ptr<Peer> &peer, const std::string &in, std::size_t room) {
  return [=] {
    auto *out = static_cast<char *>(std::malloc(room + 1));
    out[peer->Convert(in, out, room)] = '\0';
    Keep(out);
    std::free(out);
  };
}

void Charset(const std::string &name, uint32_t charset, const char *from, const std::string &mark,
             const std::string &in) {
  Operation row("charsets", name);
  row.By(qnbench::kOurs, [=, marked = mark + in] {
    int32_t length = Length(marked.size());
    char *out = fnCharSet_DecodeString2Local(charset, Opaque(marked.data()), &length);
    Keep(out);
    fnCharSet_CharSetFreeStringBuf(out);
  });
  const std::size_t room = 2 * in.size();
  row.Prepared("iconv", [=] {
    return DecodeStep(std::make_shared<qnbench::Iconv>("UTF-8", from), in, room);
  });
  row.Prepared("ICU converter", [=] {
    return DecodeStep(std::make_shared<qnbench::IcuConverter>("UTF-8", from), in, room);
  });
}

void Charsets(std::size_t characters, const std::string &size) {
  for (const Writing writing : qnbench::kWritings) {
    const auto units = qnbench::UnitsOf(writing, characters);
    const std::string label = qnbench::NameOf(writing) + size;
    Charset("UTF-16 (1015) decoded, " + label, QN_CHARSET_UTF16, "UTF-16LE", "\xFF\xFE",
            qnbench::Encoded(units, "UTF-16LE"));
    Charset("UCS-2 (1000) decoded, " + label, QN_CHARSET_UCS2, "UTF-16BE", "\xFE\xFF",
            qnbench::Encoded(units, "UTF-16BE"));
    Charset("UTF-8 (106) decoded, " + label, QN_CHARSET_UTF8, "UTF-8", "",
            qnbench::Encoded(units, "UTF-8"));
    if (writing == Writing::kCjk) continue;
    Charset("Latin 1 (4) decoded, " + label, QN_CHARSET_LATIN1, "ISO-8859-1", "",
            qnbench::Encoded(units, "ISO-8859-1"));
  }
}

}  // namespace

void qnbench::RegisterTranscoding() {
  for (const Writing writing : kWritings) {
    StreamToUtf8(writing, kCharacters, "");
    StreamToUtf8(writing, kShortText, ", 40 characters");
    UnitsToUtf8(writing);
    Utf8ToUnits(writing);
    Ucs4(writing);
  }
}

void qnbench::RegisterCharsets() {
  Charsets(kCharacters, "");
  Charsets(kShortText, ", 40 characters");
}
