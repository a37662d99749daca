// SPDX-License-Identifier: MIT
// The C library reads the forms. It takes names of its locale, which qnget never
// sets, so they are English.
#include "http_date.h"

#include <strings.h>

#include <ctime>
#include <string_view>

namespace qnget {
namespace {

struct Form {
  const char *layout;
  std::string_view zone;  // what stands behind it
};

constexpr Form kForms[] = {
    {"%a, %d %b %Y %H:%M:%S ", "GMT"},
    {"%a, %d-%b-%y %H:%M:%S ", "GMT"},
    {"%a %b %d %H:%M:%S %Y", ""},
};

std::optional<tm> ReadForm(const std::string &text, const Form &form) {
  tm fields{};
  const char *end = strptime(text.c_str(), form.layout, &fields);
  if (end == nullptr || strcasecmp(end, form.zone.data()) != 0) return {};
  return fields;
}

// A day like 31 February would become one of the next month. A leap second does
// that too, so the second is counted apart. A year before 1900 has lost digits.
std::optional<int64_t> SecondsOf(tm fields) {
  const int day = fields.tm_mday;
  const int second = fields.tm_sec;
  fields.tm_sec = 0;
  const int64_t minute = timegm(&fields);
  if (fields.tm_mday != day || fields.tm_year < 0) return {};
  return minute + second;
}

}  // namespace

std::optional<int64_t> ReadHttpDate(const std::string &text) {
  for (const Form &form : kForms) {
    if (const std::optional<tm> fields = ReadForm(text, form)) return SecondsOf(*fields);
  }
  return {};
}

}  // namespace qnget
