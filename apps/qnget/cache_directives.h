// SPDX-License-Identifier: MIT
// The directives of "Cache-Control" fields (RFC 9111, section 5.2).
#ifndef QNGET_CACHE_DIRECTIVES_H
#define QNGET_CACHE_DIRECTIVES_H

#include <string>
#include <string_view>
#include <vector>

#include "answer_head.h"

namespace qnget {

struct CacheDirective {
  std::string name;
  std::string value;  // without its quotes; empty if there is none
};

/** The directives of all such fields. A comma within quotes divides nothing. */
std::vector<CacheDirective> ReadCacheDirectives(const std::vector<HeaderField> &fields);

/** Whether a directive of that name is among them, with a value or without. */
bool HasDirective(const std::vector<CacheDirective> &directives, std::string_view name);

/** Whether a list of "Pragma" has "no-cache", the word of HTTP/1.0 for the directive. */
bool HasPragmaNoCache(const std::vector<HeaderField> &fields);

}  // namespace qnget

#endif
