// SPDX-License-Identifier: MIT
// Who asks: an answer that was made for one gateway, handset or user is not
// given to another.
#ifndef QNGET_IDENTITY_H
#define QNGET_IDENTITY_H

#include <optional>
#include <string>
#include <vector>

#include "answer_head.h"
#include "proxy.h"

namespace qnget {

class Identity {
 public:
  /** Of the requests through that gateway, or none, with these header fields. */
  Identity(const std::optional<Proxy> &gateway, std::vector<HeaderField> fields);

  /**
   * One line without control characters that two requests have in common if
   * they are the same for an answer that varies with these fields. Which fields
   * those are can be read from it again by NamesIn().
   */
  std::string TextFor(const std::vector<std::string> &varying) const;

  /** The header fields of the request. */
  const std::vector<HeaderField> &Fields() const { return fields_; }

 private:
  std::string ValueOf(const std::string &name) const;

  std::string gateway_;
  std::vector<HeaderField> fields_;
};

/** The names of the header fields that such a line is about. */
std::vector<std::string> NamesIn(const std::string &identity_text);

/** The text with all but visible ASCII as %XX, so that a blank ends it. */
std::string Escaped(std::string_view text);

}  // namespace qnget

#endif
