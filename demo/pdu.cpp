// SPDX-License-Identifier: MIT
// The encoding is WSP's (WAP-230): a field code, then a value whose first octet
// tells its form, so that fields can be read without knowing them.
#include "pdu.h"

#include <cstddef>
#include <stdexcept>

namespace demo {
namespace {

constexpr uint8_t kLongestShortLength = 30;  // up to here the octet is the length itself
constexpr uint8_t kLengthFollows = 31;       // the length follows as a uintvar
constexpr uint8_t kFirstOctetValue = 128;    // from here on the octet is the value

constexpr uint8_t kTextPlain = 0x83;
constexpr uint8_t kCharsetParameter = 0x81;
constexpr uint8_t kCharsetUtf8 = 0xEA;  // MIBenum 106
constexpr uint8_t kPartLocation = 0x8E;

std::string Uintvar(uint64_t number) {
  std::string written(1, static_cast<char>(number & 0x7F));
  for (number >>= 7; number > 0; number >>= 7) {
    written.insert(written.begin(), static_cast<char>((number & 0x7F) | 0x80));
  }
  return written;
}

// A place in the bytes of a unit that is being read.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  bool AtEnd() const { return rest_.empty(); }
  std::string_view Rest() const { return rest_; }

  std::string_view Take(size_t count) {
    if (count > rest_.size()) throw std::runtime_error("the message ends too early");
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  uint8_t TakeOctet() { return static_cast<uint8_t>(Take(1)[0]); }

  size_t TakeUintvar() {
    size_t number = 0;
    for (int octets = 0; octets < 5; ++octets) {
      const uint8_t octet = TakeOctet();
      number = (number << 7) | (octet & 0x7FU);
      if ((octet & 0x80U) == 0) return number;
    }
    throw std::runtime_error("the message holds a number that is too long");
  }

  // A value of any form, as it is written.
  std::string_view TakeValue() {
    const std::string_view start = rest_;
    const uint8_t first = TakeOctet();
    if (first <= kLongestShortLength) {
      Take(first);
    } else if (first == kLengthFollows) {
      Take(TakeUintvar());
    } else if (first < kFirstOctetValue) {
      TakeTextEnd();
    }
    return start.substr(0, start.size() - rest_.size());
  }

 private:
  void TakeTextEnd() {
    const size_t end = rest_.find('\0');
    if (end == std::string_view::npos) throw std::runtime_error("the message holds an open text");
    Take(end + 1);
  }

  std::string_view rest_;
};

}  // namespace

std::string_view Pdu::Value(uint8_t field) const {
  for (const auto &[code, value] : fields) {
    if (code == field) return value;
  }
  return {};
}

std::string Pdu::Text(uint8_t field) const {
  std::string_view value = Value(field);
  if (!value.empty() && value.back() == '\0') value.remove_suffix(1);
  return std::string(value);
}

uint8_t Pdu::Octet(uint8_t field) const {
  const std::string_view value = Value(field);
  return value.size() == 1 ? static_cast<uint8_t>(value[0]) : uint8_t{0};
}

std::string OctetValue(uint8_t octet) { return std::string(1, static_cast<char>(octet)); }

std::string TextValue(std::string_view text) { return std::string(text) + '\0'; }

std::string NumberValue(uint64_t number) {
  std::string octets(1, static_cast<char>(number & 0xFF));
  for (number >>= 8; number > 0; number >>= 8) {
    octets.insert(octets.begin(), static_cast<char>(number & 0xFF));
  }
  return SizedValue(octets);
}

std::string SizedValue(std::string_view inner) {
  std::string written;
  if (inner.size() > kLongestShortLength) written += static_cast<char>(kLengthFollows);
  written += Uintvar(inner.size());
  return written.append(inner);
}

std::string EncodedTextValue(const EncodedText &text) {
  const bool is_short = text.charset < kFirstOctetValue;
  const std::string charset =
      is_short ? OctetValue(static_cast<uint8_t>(text.charset | kFirstOctetValue))
               : NumberValue(text.charset);
  return SizedValue(charset + TextValue(text.bytes));
}

EncodedText ReadEncodedText(std::string_view value) {
  Reader reader(value);
  if (reader.TakeOctet() == kLengthFollows) reader.TakeUintvar();
  EncodedText text;
  const uint8_t first = reader.TakeOctet();
  if (first >= kFirstOctetValue) {
    text.charset = first & 0x7FU;
  } else {
    for (const char octet : reader.Take(first)) {
      text.charset = text.charset << 8 | static_cast<uint8_t>(octet);
    }
  }
  text.bytes = reader.Rest();
  if (!text.bytes.empty()) text.bytes.pop_back();  // its end
  return text;
}

std::string Encode(const Pdu &pdu) {
  std::string bytes;
  for (const auto &[code, value] : pdu.fields) {
    bytes += static_cast<char>(code);
    bytes += value;
  }
  return bytes + pdu.content;
}

Pdu Decode(std::string_view bytes) {
  Pdu pdu;
  Reader reader(bytes);
  while (!reader.AtEnd()) {
    const uint8_t code = reader.TakeOctet();
    if (code < kFirstOctetValue) throw std::runtime_error("the message holds an unknown field");
    pdu.fields.emplace_back(code, reader.TakeValue());
    if (code == kContentType) break;
  }
  pdu.content = reader.Rest();
  if (pdu.Octet(kMessageType) < kFirstOctetValue) {
    throw std::runtime_error("the message does not say what it is");
  }
  return pdu;
}

std::string ContentOfText(std::string_view text, std::string_view name) {
  const std::string media_type =
      SizedValue(OctetValue(kTextPlain) + OctetValue(kCharsetParameter) + OctetValue(kCharsetUtf8));
  const std::string headers = media_type + OctetValue(kPartLocation) + TextValue(name);
  return Uintvar(1) + Uintvar(headers.size()) + Uintvar(text.size()) + headers + std::string(text);
}

std::string TextOfContent(std::string_view content) {
  Reader reader(content);
  for (size_t parts = reader.TakeUintvar(); parts > 0; --parts) {
    const size_t header_size = reader.TakeUintvar();
    const size_t data_size = reader.TakeUintvar();
    Reader header(reader.Take(header_size));
    const std::string_view data = reader.Take(data_size);
    Reader media_type(header.TakeValue());
    if (media_type.TakeOctet() <= kLongestShortLength && media_type.TakeOctet() == kTextPlain) {
      return std::string(data);
    }
  }
  throw std::runtime_error("the message holds no text");
}

}  // namespace demo
