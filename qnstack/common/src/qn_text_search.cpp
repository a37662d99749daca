// The two-way string matching of Crochemore and Perrin (Journal of the ACM 38,
// 1991) over bytes whose case is folded: the needle is cut where its right
// part repeats least, the right part is compared forwards and the left part
// backwards, and no haystack byte is compared more than a fixed number of
// times.
#include "qn_text_search.h"

#include <algorithm>
#include <cstring>

#include "qn_ascii.h"

namespace {

using Offset = std::ptrdiff_t;

struct Factorization {
  Offset cut;     // last offset of the needle's left part, -1 for none
  Offset period;  // of the right part
};

unsigned char At(std::string_view text, Offset offset) {
  return qn::FoldByte(text[static_cast<std::size_t>(offset)]);
}

// The needle's greatest suffix under byte order, or under the reverse of it.
Factorization GreatestSuffix(std::string_view needle, bool reverse) {
  const auto length = static_cast<Offset>(needle.size());
  Factorization best = {-1, 1};
  Offset candidate = 0;
  Offset matched = 1;
  while (candidate + matched < length) {
    const unsigned char ours = At(needle, candidate + matched);
    const unsigned char theirs = At(needle, best.cut + matched);
    if (ours == theirs) {
      if (matched != best.period) {
        ++matched;
      } else {
        candidate += best.period;
        matched = 1;
      }
    } else if ((ours < theirs) != reverse) {
      candidate += matched;
      matched = 1;
      best.period = candidate - best.cut;
    } else {
      best = {candidate, 1};
      ++candidate;
      matched = 1;
    }
  }
  return best;
}

Factorization CriticalFactorization(std::string_view needle) {
  const Factorization forward = GreatestSuffix(needle, false);
  const Factorization reverse = GreatestSuffix(needle, true);
  return forward.cut > reverse.cut ? forward : reverse;
}

// Whether the left part repeats at the right part's period, so that the whole
// needle has that period.
bool IsPeriodic(std::string_view needle, const Factorization &parts) {
  for (Offset i = 0; i <= parts.cut; ++i) {
    if (At(needle, i) != At(needle, i + parts.period)) return false;
  }
  return true;
}

// Finds the places of one letter in either case, from the front to the back of
// a text. Each byte is looked at once for each case.
class LetterFinder {
 public:
  LetterFinder(std::string_view text, char letter)
      : text_(text), cases_{static_cast<char>(qn::FoldByte(letter)), OtherCase(letter)} {}

  // The first place at or behind `offset`; the text's end if there is none.
  Offset Next(Offset offset) {
    for (int i = 0; i < 2; ++i) {
      if (places_[i] < offset) places_[i] = Find(cases_[i], offset);
    }
    return std::min(places_[0], places_[1]);
  }

 private:
  static constexpr char OtherCase(char letter) {
    const unsigned char folded = qn::FoldByte(letter);
    const bool has_case = folded >= 'a' && folded <= 'z';
    return static_cast<char>(has_case ? folded - ('a' - 'A') : folded);
  }

  Offset Find(char byte, Offset offset) const {
    const auto start = static_cast<std::size_t>(offset);
    if (start >= text_.size()) return static_cast<Offset>(text_.size());
    const void *found = std::memchr(text_.data() + start, byte, text_.size() - start);
    if (found == nullptr) return static_cast<Offset>(text_.size());
    return static_cast<const char *>(found) - text_.data();
  }

  std::string_view text_;
  char cases_[2];
  Offset places_[2] = {-1, -1};
};

}  // namespace

std::size_t qn::FindIgnoringCase(std::string_view haystack, std::string_view needle) {
  if (needle.empty()) return 0;
  if (needle.size() > haystack.size()) return kNotFound;
  const auto length = static_cast<Offset>(needle.size());
  const auto last_start = static_cast<Offset>(haystack.size()) - length;
  const Factorization parts = CriticalFactorization(needle);
  const bool periodic = IsPeriodic(needle, parts);
  const Offset shift =
      periodic ? parts.period : std::max(parts.cut + 1, length - parts.cut - 1) + 1;

  // Where nothing is known to match, starts whose first compared byte differs
  // are passed over.
  const Offset first = parts.cut + 1;
  LetterFinder finder(haystack, needle[static_cast<std::size_t>(first)]);
  const auto next_start = [&](Offset start) { return finder.Next(start + first) - first; };
  Offset known = -1;  // last offset of a prefix that is known to match
  for (Offset start = next_start(0); start <= last_start;) {
    Offset i = std::max(parts.cut, known) + 1;
    while (i < length && At(needle, i) == At(haystack, start + i)) ++i;
    if (i < length) {
      start = next_start(start + i - parts.cut);
      known = -1;
      continue;
    }
    i = parts.cut;
    while (i > known && At(needle, i) == At(haystack, start + i)) --i;
    if (i <= known) return static_cast<std::size_t>(start);
    start += shift;
    known = periodic ? length - parts.period - 1 : -1;
  }
  return kNotFound;
}
