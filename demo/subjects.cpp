// SPDX-License-Identifier: MIT
// The bytes are made here from UTF-16 units, set by set; the library alone
// turns them into readable text again.
#include "subjects.h"

#include <qnstack/qnstack.h>

#include <string>
#include <string_view>

#include "narration.h"
#include "pdu.h"

namespace demo {
namespace {

constexpr std::u16string_view kUnits = u"Gr\u00FC\u00DFe vom H\u00FCgel";
constexpr char kReadable[] = "Gr\u00FC\u00DFe vom H\u00FCgel";

char Low(char16_t unit) { return static_cast<char>(unit & 0xFF); }
char High(char16_t unit) { return static_cast<char>(unit >> 8); }

std::string AsLatin1() {
  std::string bytes;
  for (const char16_t unit : kUnits) bytes += Low(unit);
  return bytes;
}

std::string AsBigEndian() {
  std::string bytes = "\xFE\xFF";
  for (const char16_t unit : kUnits) bytes.append({High(unit), Low(unit)});
  return bytes;
}

std::string AsLittleEndian() {
  std::string bytes = "\xFF\xFE";
  for (const char16_t unit : kUnits) bytes.append({Low(unit), High(unit)});
  return bytes;
}

// Over the wire and back, in a notification.
EncodedText Deliver(const EncodedText &subject) {
  Pdu notification;
  notification.fields = {{kMessageType, OctetValue(kNotification)},
                         {kSubject, EncodedTextValue(subject)}};
  return ReadEncodedText(Decode(Encode(notification)).Value(kSubject));
}

std::string Readable(const EncodedText &text) {
  auto length = static_cast<int32_t>(text.bytes.size());
  char *decoded = fnCharSet_DecodeString2Local(text.charset, text.bytes.data(), &length);
  if (decoded == nullptr) return {};
  std::string readable(decoded);
  fnCharSet_CharSetFreeStringBuf(decoded);
  return readable;
}

}  // namespace

void TellSubjects() {
  Say("\n7. Other phones write the subject in other character sets.");
  const struct {
    const char *name;
    EncodedText subject;
  } sent[] = {{"UTF-8", {QN_CHARSET_UTF8, kReadable}},
              {"UTF-16", {QN_CHARSET_UTF16, AsLittleEndian()}},
              {"UCS-2", {QN_CHARSET_UCS2, AsBigEndian()}},
              {"ISO-8859-1", {QN_CHARSET_LATIN1, AsLatin1()}}};
  for (const auto &[name, subject] : sent) {
    const EncodedText received = Deliver(subject);
    const std::string readable = Readable(received);
    Say(std::string("   ") + name + ", " + std::to_string(received.bytes.size()) +
        " bytes: " + readable);
    Check(readable == kReadable, "it reads as it was written");
  }
}

}  // namespace demo
