// SPDX-License-Identifier: MIT
// MMS protocol data units as the OMA encapsulation (WAP-209) writes them: what
// the demo composes and what it reads back.
#ifndef DEMO_PDU_H
#define DEMO_PDU_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace demo {

inline constexpr char kMmsMediaType[] = "application/vnd.wap.mms-message";

// Codes of the header fields, then of the values that the demo uses: message
// types, version, media type.
enum : uint8_t {
  kContentLocation = 0x83,
  kContentType = 0x84,
  kDate = 0x85,
  kExpiry = 0x88,
  kFrom = 0x89,
  kMessageClass = 0x8A,
  kMessageId = 0x8B,
  kMessageType = 0x8C,
  kVersion = 0x8D,
  kMessageSize = 0x8E,
  kResponseStatus = 0x92,
  kSubject = 0x96,
  kTo = 0x97,
  kTransactionId = 0x98,

  kSendRequest = 0x80,
  kSendConfirmation = 0x81,
  kNotification = 0x82,
  kRetrieveConfirmation = 0x84,
  kVersion10 = 0x90,
  kMultipartMixed = 0xA3
};

// One unit: its header fields in their order, each with its value as it is
// written, and the content that follows the content type.
struct Pdu {
  std::vector<std::pair<uint8_t, std::string>> fields;
  std::string content;

  // The written value of a field; empty where the unit has none.
  std::string_view Value(uint8_t field) const;
  // The value of a field that holds a text, without its end.
  std::string Text(uint8_t field) const;
  // The value of a field that holds one octet; 0 where the unit has none.
  uint8_t Octet(uint8_t field) const;
};

// Written values: one octet, a text with its end, an unsigned number, and
// other values behind their length.
std::string OctetValue(uint8_t octet);
std::string TextValue(std::string_view text);
std::string NumberValue(uint64_t number);
std::string SizedValue(std::string_view inner);

// A text in a character set (an IANA MIBenum), as fields for people hold it.
struct EncodedText {
  uint32_t charset = 0;
  std::string bytes;
};
std::string EncodedTextValue(const EncodedText &text);
EncodedText ReadEncodedText(std::string_view value);

std::string Encode(const Pdu &pdu);
// Throws std::runtime_error for bytes that are no such unit.
Pdu Decode(std::string_view bytes);

// A content of one part, a UTF-8 text, and that text again. TextOfContent
// throws std::runtime_error where there is no such part.
std::string ContentOfText(std::string_view text, std::string_view name);
std::string TextOfContent(std::string_view content);

}  // namespace demo

#endif
