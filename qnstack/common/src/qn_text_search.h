// Searching text, ignoring the case of ASCII letters.
#ifndef QNSTACK_QN_TEXT_SEARCH_H
#define QNSTACK_QN_TEXT_SEARCH_H

#include <cstddef>
#include <string_view>

namespace qn {

inline constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

// Offset of the first match of `needle` in `haystack`, or kNotFound. Time is
// linear in both lengths, memory is constant. An empty needle is found at 0.
std::size_t FindIgnoringCase(std::string_view haystack, std::string_view needle);

}  // namespace qn

#endif
