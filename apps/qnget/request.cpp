#include "request.h"

#include "qnstack/qnstack.h"

namespace qnget {
namespace {

// What the library sends of its table.
constexpr const char *kSent[] = {"Accept", "User-Agent", "Profile", "Accept-Language"};

}  // namespace

std::vector<HeaderField> RequestFields(const Options &options) {
  fnQNStack_Http_Head_SetDefault();
  for (const auto &[name, value] : options.headers) {
    fnQNStack_Http_Head_Write(name.c_str(), value.c_str());
  }
  std::vector<HeaderField> fields;
  for (const char *name : kSent) {
    const char *value = fnQNStack_Http_Head_Read(name);
    if (value != nullptr) fields.push_back({name, value});
  }
  fnQNStack_Http_Head_FreeAll();
  return fields;
}

}  // namespace qnget
