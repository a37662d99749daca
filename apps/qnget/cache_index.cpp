// SPDX-License-Identifier: MIT
#include "cache_index.h"

#include "failure.h"

namespace qnget {
namespace {

constexpr const char *kFolder = "/wap/ca/";
constexpr int32_t kTooLarge = 1048576;  // bytes of a body; the library keeps less

std::string BodyFile(const QNCacheEntry &entry) { return kFolder + std::to_string(entry.file_no); }

}  // namespace

CacheIndex::CacheIndex(const std::string &root, Purpose purpose) : store_(root, purpose) {
  if (!store_.IsOpen()) return;
  const bool folder = fnQNFS_MkDir(kFolder) == 1;
  if (!folder && purpose == Purpose::kWrite) {
    throw Failure(kNotWritten, "could not create folder " + root + kFolder);
  }
  fnQNStack_Cache_Init();
}

CacheIndex::~CacheIndex() { fnQNStack_Cache_Free(); }

std::vector<QNCacheEntry *> CacheIndex::Entries() {
  std::vector<QNCacheEntry *> entries;
  const QNList *list = fnQNFS_http_cache_list();
  for (const QNListNode *node = fnQNList_BeginIter(list); node != nullptr; node = node->next) {
    entries.push_back(static_cast<QNCacheEntry *>(node->data));
  }
  return entries;
}

void CacheIndex::Reload() {
  fnQNStack_Cache_Free();
  fnQNStack_Cache_Init();
}

std::optional<CacheLabel> LabelOf(const QNCacheEntry &entry) {
  if (entry.label == nullptr) return {};
  return ReadLabel(entry.label);
}

std::optional<std::string> ReadBody(const QNCacheEntry &entry) {
  const std::optional<CacheLabel> label = LabelOf(entry);
  if (!label || !HasBody(entry)) return {};
  std::string body(static_cast<size_t>(entry.size), '\0');
  if (fnQNStack_Cache_LoadFileToBuffer(entry.file_no, body.data(), entry.size) != 0) return {};
  if (ChecksumOf(body) != label->checksum) return {};
  return body;
}

bool HasBody(const QNCacheEntry &entry) {
  return entry.size >= 0 && entry.size < kTooLarge &&
         fnQNFS_getFileSize(BodyFile(entry).c_str()) == entry.size;
}

bool DeleteBody(const QNCacheEntry &entry) {
  return fnQNFS_DeleteFile(BodyFile(entry).c_str()) == 1;
}

}  // namespace qnget
