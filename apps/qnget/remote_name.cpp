// SPDX-License-Identifier: MIT
// What is decoded comes from whoever wrote the URL, so it is looked at again.
#include "remote_name.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

#include "failure.h"
#include "qnstack/qnstack.h"

namespace qnget {
namespace {

std::string_view LastSegment(std::string_view url) {
  const size_t scheme = url.find("://");
  if (scheme != std::string_view::npos) url.remove_prefix(scheme + 3);
  url = url.substr(0, url.find_first_of("?#"));
  const size_t slash = url.rfind('/');
  return slash == std::string_view::npos ? "" : url.substr(slash + 1);
}

bool IsHexadecimal(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool IsControl(char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }

bool EscapesAreWhole(std::string_view text) {
  for (size_t i = text.find('%'); i != std::string_view::npos; i = text.find('%', i + 1)) {
    if (i + 2 >= text.size() || !IsHexadecimal(text[i + 1]) || !IsHexadecimal(text[i + 2])) {
      return false;
    }
  }
  return true;
}

// A text with a '%' that begins no escape has none; %00 stays as it is.
std::string Decoded(std::string_view segment) {
  std::string name(segment);
  if (!EscapesAreWhole(name)) return name;
  fnQNFS_URL_ZM(name.data());
  name.resize(std::strlen(name.data()));
  return name;
}

std::string ProblemOfName(const std::string &name) {
  if (name.empty()) return "has no file name at its end";
  const bool elsewhere = name == "." || name == ".." || name.find('/') != std::string::npos;
  if (elsewhere) return "would name a file elsewhere";
  return std::any_of(name.begin(), name.end(), IsControl)
             ? "has a file name with control characters"
             : "";
}

}  // namespace

std::string RemoteName(const std::string &url) {
  const std::string name = Decoded(LastSegment(url));
  const std::string problem = ProblemOfName(name);
  if (!problem.empty()) {
    throw Failure(kUsage, "-O: the URL " + problem + "; give a name by -o FILE");
  }
  return name == "-" ? "./-" : name;
}

}  // namespace qnget
