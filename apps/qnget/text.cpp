// The library decodes; here is what it gives as a string of this program's.
#include "text.h"

#include "failure.h"
#include "qnstack/qnstack.h"

namespace qnget {

std::string TextFrom(uint32_t charset, const std::string &bytes) {
  auto length = static_cast<int32_t>(bytes.size());
  if (length == 0) return {};
  char *decoded = fnCharSet_DecodeString2Local(charset, bytes.data(), &length);
  if (decoded == nullptr) {
    throw Failure(kNotReceived, "the body is no text in the character set " +
                                    std::to_string(charset) + " with a byte-order mark");
  }
  std::string text(decoded, static_cast<size_t>(length));
  fnCharSet_CharSetFreeStringBuf(decoded);
  return text;
}

}  // namespace qnget
