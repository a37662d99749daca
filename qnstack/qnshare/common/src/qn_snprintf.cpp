// Formatted text into a bounded area. Owns nothing. Plain text, strings and
// decimal numbers, of which nearly all of the library's texts are made, are
// moved whole; from any other conversion on the portable runtime's formatter
// does the work, and all of it where the format counts.
#include "qnstack/qn_snprintf.h"

#include <apr_lib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>

#include "qn_shown.h"

namespace {

// The area never grows or drains: reaching its end ends the formatting.
int RefuseToFlush(apr_vformatter_buff_t * /*area*/) { return -1; }

// What has been produced; with a size of 0 it is counted and not stored.
class Text {
 public:
  Text(char *buf, uint32_t len) : stores_(len != 0) {
    if (stores_) area_ = {buf, buf + (len - 1)};
  }

  // False when it does not fit; as much as fits is stored.
  bool Put(std::string_view piece) {
    length_ += static_cast<int32_t>(piece.size());
    if (!stores_) return true;
    const auto room = static_cast<std::size_t>(area_.endpos - area_.curpos);
    const std::size_t stored = std::min(piece.size(), room);
    std::memcpy(area_.curpos, piece.data(), stored);
    area_.curpos += stored;
    return stored == piece.size();
  }

  // Moves on to the next conversion or the end of the format, which is seldom
  // far.
  bool PutPlain(const char *&format) {
    const char *start = format;
    while (*format != '\0' && *format != '%') ++format;
    return Put({start, static_cast<std::size_t>(format - start)});
  }

  template <typename Number>
  bool PutNumber(Number number) {
    std::array<char, std::numeric_limits<Number>::digits10 + 2> digits;
    const auto end = std::to_chars(digits.begin(), digits.end(), number).ptr;
    return Put({digits.data(), static_cast<std::size_t>(end - digits.data())});
  }

  // Leaves the rest to the portable runtime.
  bool PutFormatted(const char *format, va_list args) {
    const int produced = apr_vformatter(RefuseToFlush, &area_, format, args);
    length_ += std::max(produced, 0);
    return produced != -1;
  }

  void Terminate() {
    if (stores_) *area_.curpos = '\0';
  }

  int32_t Length() const { return length_; }

 private:
  apr_vformatter_buff_t area_ = {nullptr, nullptr};
  bool stores_;
  int32_t length_ = 0;
};

// Whether a format stores how much it has produced ("%n"), which the portable
// runtime can tell only if it has produced all of it.
bool CountsInto(const char *format) {
  for (format = std::strchr(format, '%'); format != nullptr; format = std::strchr(format, '%')) {
    ++format;
    format += std::strspn(format, "-+ #0123456789.*hlqL");
    if (*format == 'n') return true;
    if (*format != '\0') ++format;
  }
  return false;
}

}  // namespace

int32_t fnQNRTL_vsnprintf(char *buf, uint32_t len, const char *format, va_list args) {
  if (format == nullptr || (buf == nullptr && len != 0)) return -1;
  const char *whole_format = format;
  va_list whole_args;
  va_copy(whole_args, args);
  Text text(buf, len);
  bool fits = true;
  while (fits) {
    fits = text.PutPlain(format);
    if (!fits || *format == '\0') break;
    const char conversion = format[1];
    // The analyzer does not see that a caller has started the list.
    // NOLINTBEGIN(clang-analyzer-valist.Uninitialized)
    if (conversion == 's') {
      fits = text.Put(qn::Shown(va_arg(args, const char *)));
    } else if (conversion == 'd') {
      fits = text.PutNumber(va_arg(args, int));
    } else if (conversion == 'u') {
      fits = text.PutNumber(va_arg(args, unsigned));
    } else if (CountsInto(format)) {
      text = Text(buf, len);
      fits = text.PutFormatted(whole_format, whole_args);
      break;
    } else {
      fits = text.PutFormatted(format, args);
      break;
    }
    // NOLINTEND(clang-analyzer-valist.Uninitialized)
    format += 2;
  }
  va_end(whole_args);
  text.Terminate();
  return fits ? text.Length() : static_cast<int32_t>(len);
}

int32_t fnQNRTL_snprintf(char *buf, uint32_t len, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const int32_t result = fnQNRTL_vsnprintf(buf, len, format, args);
  va_end(args);
  return result;
}
