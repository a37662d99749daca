// SPDX-License-Identifier: MIT
// Words in the order of their length, built by adding one letter at a time.
#include "support/words.h"

namespace qntest {

std::vector<std::string> WordsOver(const std::string &alphabet, size_t max_length) {
  std::vector<std::string> words = {""};
  size_t first_of_last_length = 0;
  for (size_t length = 1; length <= max_length; ++length) {
    const size_t end = words.size();
    for (size_t i = first_of_last_length; i < end; ++i) {
      for (const char letter : alphabet) words.push_back(words[i] + letter);
    }
    first_of_last_length = end;
  }
  return words;
}

}  // namespace qntest
