// SPDX-License-Identifier: MIT
// The head of an answer, its status line and header fields, as text that has
// been taken apart. A name may stand in several fields; names are compared
// without regard to case.
#ifndef QNGET_ANSWER_HEAD_H
#define QNGET_ANSWER_HEAD_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnget {

inline constexpr int kLowestStatus = 100;
inline constexpr int kSwitchingProtocols = 101;
inline constexpr int kLowestFinalStatus = 200;  // below are interim answers

struct HeaderField {
  std::string name;
  std::string value;  // without the blanks around it
};

/** Compares header names, and whatever else HTTP reads without regard to case. */
bool EqualIgnoringCase(std::string_view a, std::string_view b);

/** The text without the blanks and tabs around it. */
std::string_view Trimmed(std::string_view text);

/** The members of a list that commas divide, without the blanks around them and without empty ones.
 */
std::vector<std::string> ListMembers(std::string_view list);

/** A number written in decimal digits alone; nothing for any other text, or above 64 bits. */
std::optional<uint64_t> ReadDecimal(std::string_view text);

struct AnswerHead {
  int status = 0;  // 0: the answer has none that can be read
  std::vector<HeaderField> fields{};

  /** The value of the first field of that name. */
  std::optional<std::string> First(std::string_view name) const;

  /** "text/html" of "Content-Type: text/html; charset=utf-8"; empty if it is not there. */
  std::string MediaType() const;

  /** The members of all lists under that name, as one list. */
  std::vector<std::string> Members(std::string_view name) const;
};

/**
 * Takes a head apart. Its lines end with LF or CR LF; a line that begins with a
 * blank goes on with the value before it (RFC 9112, section 5.2), and a line
 * without a colon counts for nothing.
 */
AnswerHead ReadAnswerHead(std::string_view text);

}  // namespace qnget

#endif
