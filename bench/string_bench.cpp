// SPDX-License-Identifier: MIT
// Memory and string primitives beside the C library's, each on a short and on
// a long text where the length matters.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"
#include "qnstack/qn_stricmp.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

constexpr char kGroup[] = "strings";

// A header name's length, and a header's.
struct Size {
  const char *name;
  std::string text;
  std::string upper;  // the same in capitals
};

Size MakeSize(const char *name, std::size_t length) {
  Size size = {name, {}, {}};
  for (std::size_t i = 0; i < length; ++i) {
    size.text += static_cast<char>('a' + i * 7 % 26);
    size.upper += static_cast<char>('A' + i * 7 % 26);
  }
  return size;
}

std::string Label(const char *operation, const Size &size) {
  return std::string(operation) + ", " + size.name;
}

// A row of two steps.
template <typename OurStep, typename TheirStep>
void Pair(const std::string &name, OurStep ours, const char *peer, TheirStep theirs) {
  Operation(kGroup, name).By(qnbench::kOurs, ours).By(peer, theirs);
}

void Looking(const Size &size) {
  const char *text = size.text.c_str();
  const char *copy = (new std::string(size.text.c_str()))->c_str();
  const std::size_t length = size.text.size();
  Pair(
      Label("strlen", size), [=] { Keep(fnQN_STRLEN(Opaque(text))); }, "strlen",
      [=] { Keep(std::strlen(Opaque(text))); });
  Pair(
      Label("strchr for the end", size), [=] { Keep(fnQN_STRCHR(Opaque(text), '#')); }, "strchr",
      [=] { Keep(std::strchr(Opaque(text), '#')); });
  Pair(
      Label("strcmp of equals", size), [=] { Keep(fnQN_STRCMP(Opaque(text), Opaque(copy))); },
      "strcmp", [=] { Keep(std::strcmp(Opaque(text), Opaque(copy))); });
  Pair(
      Label("memcmp of equals", size),
      [=] { Keep(fnQN_MEMCMP(Opaque(text), Opaque(copy), length)); }, "memcmp",
      [=] { Keep(std::memcmp(Opaque(text), Opaque(copy), length)); });
}

void IgnoringCase(const Size &size) {
  const char *text = size.text.c_str();
  const char *upper = size.upper.c_str();
  const auto length = static_cast<uint32_t>(size.text.size());
  Pair(
      Label("stricmp ordering", size), [=] { Keep(fnQNRTL_stricmp(Opaque(text), Opaque(upper))); },
      "strcasecmp", [=] { Keep(strcasecmp(Opaque(text), Opaque(upper))); });
  Pair(
      Label("strnicmp ordering", size),
      [=] { Keep(fnQNRTL_strnicmp(Opaque(text), Opaque(upper), length)); }, "strncasecmp",
      [=] { Keep(strncasecmp(Opaque(text), Opaque(upper), length)); });
  Pair(
      Label("stricmp equality", size), [=] { Keep(fnQN_STRICMP(Opaque(text), Opaque(upper))); },
      "strcasecmp", [=] { Keep(strcasecmp(Opaque(text), Opaque(upper))); });
  Pair(
      Label("strnicmp, 'B' to 'Y'", size),
      [=] { Keep(fnQN_STRNICMP(Opaque(text), Opaque(text), length)); }, "strncasecmp",
      [=] { Keep(strncasecmp(Opaque(text), Opaque(text), length)); });
}

void Copying(const Size &size) {
  const char *text = size.text.c_str();
  const std::size_t length = size.text.size();
  char *to = (new std::string(2 * length + 1, '\0'))->data();
  Pair(
      Label("strcpy", size), [=] { Keep(fnQN_STRCPY(Opaque(to), Opaque(text))); }, "strcpy",
      [=] { Keep(std::strcpy(Opaque(to), Opaque(text))); });
  Pair(
      Label("memcpy", size), [=] { Keep(fnQN_MEMCPY(Opaque(to), Opaque(text), *Opaque(&length))); },
      "memcpy", [=] { Keep(std::memcpy(Opaque(to), Opaque(text), *Opaque(&length))); });
  Pair(
      Label("memset", size), [=] { Keep(fnQN_MEMSET(Opaque(to), 'x', *Opaque(&length))); },
      "memset", [=] { Keep(std::memset(Opaque(to), 'x', *Opaque(&length))); });
  Pair(
      Label("strdup", size),
      [=] {
        char *copy = fnQN_STRDUP(Opaque(text));
        Keep(copy);
        fnQN_Free(&copy);
      },
      "strdup",
      [=] {
        char *copy = strdup(Opaque(text));
        Keep(copy);
        std::free(copy);
      });
  Pair(
      Label("copy on the heap", size),
      [=] {
        char *copy = fnQN_MEMSTRCOPY(Opaque(text));
        Keep(copy);
        fnQN_Free(&copy);
      },
      "strdup",
      [=] {
        char *copy = strdup(Opaque(text));
        Keep(copy);
        std::free(copy);
      });
}

void Appending(const Size &size) {
  const char *text = size.text.c_str();
  const std::size_t length = size.text.size();
  char *to = (new std::string(2 * length + 1, '\0'))->data();
  Pair(
      Label("strncat", size),
      [=] {
        to[0] = '\0';
        Keep(fnQN_STRNCAT(Opaque(to), Opaque(text), static_cast<uint32_t>(length)));
      },
      "strncat",
      [=] {
        to[0] = '\0';
        Keep(std::strncat(Opaque(to), Opaque(text), *Opaque(&length)));
      });
  char *upper = (new std::string(size.upper))->data();
  Pair(
      Label("lower case in place", size), [=] { Keep(fnQN_STRLOWER(Opaque(upper))); },
      "tolower loop",
      [=] {
        for (char *c = Opaque(upper); *c != '\0'; ++c) {
          *c = static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
        }
        Keep(upper);
      });
}

void Searching() {
  static const std::string hay =
      MakeSize("", 1000).text + "Content-Type: text/plain" + MakeSize("", 200).text;
  const char *text = hay.c_str();
  const auto length = static_cast<int32_t>(hay.size());
  Pair(
      "strstr in 1 KB", [=] { Keep(fnQN_STRSTR(Opaque(text), Opaque("Content-Type:"))); }, "strstr",
      [=] { Keep(std::strstr(Opaque(text), Opaque("Content-Type:"))); });
  Pair(
      "memstr in 1 KB", [=] { Keep(fnQN_MEMSTR(Opaque(text), Opaque("Content-Type:"), length)); },
      "memmem",
      [=] {
        const char *needle = Opaque("Content-Type:");
        Keep(memmem(Opaque(text), hay.size(), needle, std::strlen(needle)));
      });
  Pair(
      "stristr in 1 KB", [=] { Keep(stristr(Opaque(text), Opaque("content-type:"))); },
      "strcasestr", [=] { Keep(strcasestr(Opaque(text), Opaque("content-type:"))); });
  Pair(
      "STRISTR in 1 KB", [=] { Keep(fnQN_STRISTR(Opaque(text), Opaque("content-type:"))); },
      "strcasestr", [=] { Keep(strcasestr(Opaque(text), Opaque("content-type:"))); });
}

void Numbers() {
  Pair(
      "atoi", [] { Keep(fnQN_ATOI(Opaque("30720"))); }, "atoi",
      [] { Keep(std::atoi(Opaque("30720"))); });
  Pair(
      "begins with",
      [] { Keep(fnQN_STRBEGINS(Opaque("http://mmsc.example/"), Opaque("http://"))); }, "strncmp",
      [] {
        const char *prefix = Opaque("http://");
        Keep(std::strncmp(Opaque("http://mmsc.example/"), prefix, std::strlen(prefix)));
      });
}

void Heap(const char *name, uint32_t size) {
  Pair(
      name,
      [=] {
        void *block = fnQN_Malloc_Local(size, __FILE__, __LINE__);
        Keep(block);
        fnQN_Free(&block);
      },
      "calloc",
      [=] {
        void *block = std::calloc(size, 1);
        Keep(block);
        std::free(block);
      });
}

}  // namespace

void qnbench::RegisterStrings() {
  static const Size sizes[] = {MakeSize("14 bytes", 14), MakeSize("500 bytes", 500)};
  for (const Size &size : sizes) {
    Looking(size);
    IgnoringCase(size);
    Copying(size);
    Appending(size);
  }
  Searching();
  Numbers();
  Heap("32 zeroed bytes from the heap", 32);
  Heap("2048 zeroed bytes from the heap", 2048);
}
