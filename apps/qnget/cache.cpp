// Each use loads the index, holds the store only while it works with it, and
// lets it go before the network is waited for. Times are the library's seconds
// and are shown as they are.
#include "cache.h"

#include <algorithm>
#include <vector>

#include "checks.h"
#include "failure.h"
#include "qnstack/qnstack.h"
#include "store.h"

namespace qnget {
namespace {

constexpr const char *kFolder = "/wap/ca/";
constexpr size_t kTooLarge = 1048576;  // bytes of a body
constexpr size_t kLongestType = 1000;  // what an index grows by at a time is bounded
constexpr int32_t kKeptStatus = 200;
constexpr int32_t kDoNotKeep = -1;
constexpr const char *kNoType = "NULL";  // as the library writes it

// The index of the cache below a root.
class Index {
 public:
  Index(const std::string &root, IfMissing missing) : store_(root, missing) {
    if (!store_.IsOpen()) return;
    const bool folder = fnQNFS_MkDir(kFolder) == 1;
    if (!folder && missing == IfMissing::kCreate) {
      throw Failure(kNotWritten, "could not create folder " + root + kFolder);
    }
    fnQNStack_Cache_Init();
  }

  ~Index() { fnQNStack_Cache_Free(); }

  Index(const Index &) = delete;
  Index &operator=(const Index &) = delete;

  bool IsOpen() const { return store_.IsOpen(); }

  // Has what is on the medium, and nothing that only memory knows.
  static void Reload() {
    fnQNStack_Cache_Free();
    fnQNStack_Cache_Init();
  }

 private:
  Store store_;
};

std::string Text(const char *text) { return text == nullptr ? "" : text; }

// A body of another length than its entry says is not what was saved.
std::optional<std::string> ReadBody(const QNCacheEntry &entry) {
  const std::string file = kFolder + std::to_string(entry.file_no);
  if (entry.size < 0 || static_cast<size_t>(entry.size) >= kTooLarge) return {};
  if (fnQNFS_getFileSize(file.c_str()) != entry.size) return {};
  std::string body(static_cast<size_t>(entry.size), '\0');
  if (fnQNStack_Cache_LoadFileToBuffer(entry.file_no, body.data(), entry.size) != 0) return {};
  return body;
}

bool MayBeKept(const AnswerRecord &record) {
  return record.IsWhole() && record.Answer().status == kKeptStatus;
}

bool IsOnTheMedium(const std::string &url, int32_t expires) {
  Index::Reload();
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl(url.c_str());
  return entry != nullptr && entry->expires == expires && ReadBody(*entry).has_value();
}

using Row = std::vector<std::string>;

Row RowOf(const QNCacheEntry &entry, int32_t now) {
  return {Printable(Text(entry.url)), std::to_string(entry.size), std::to_string(entry.stored_at),
          std::to_string(entry.expires), entry.expires > now ? "fresh" : "stale"};
}

// Columns as wide as their widest cell; the numbers stand to the right.
std::string Layout(const std::vector<Row> &rows) {
  std::vector<size_t> widths(rows.front().size());
  for (const Row &row : rows) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (const Row &row : rows) {
    text += row[0] + std::string(widths[0] - row[0].size(), ' ');
    for (size_t i = 1; i + 1 < row.size(); ++i) {
      text += "  " + std::string(widths[i] - row[i].size(), ' ') + row[i];
    }
    text += "  " + row.back() + "\n";
  }
  return text;
}

}  // namespace

void AnswerRecord::Start() { *this = AnswerRecord(); }

void AnswerRecord::TakeHead(const AnswerHead &head) {
  const std::string type = head.MediaType();
  answer_.status = head.status;
  answer_.type = type.size() <= kLongestType ? type : "";
  fnQNStack_Cache_InitTime();
  for (const HeaderField &field : head.fields) {
    fnQNStack_Cache_ParseCacheTime((field.name + ": " + field.value).c_str());
  }
}

void AnswerRecord::TakeBody(std::string_view bytes) {
  if (!fits_) return;
  fits_ = answer_.body.size() + bytes.size() < kTooLarge;
  if (fits_) {
    answer_.body += bytes;
  } else {
    answer_.body = std::string();
  }
}

std::optional<CachedAnswer> FindCached(const std::string &root, const std::string &url) {
  const Index index(root, IfMissing::kCreate);
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(url.c_str());
  if (entry == nullptr) return {};
  std::optional<std::string> body = ReadBody(*entry);
  if (!body) return {};
  const std::string label = Text(entry->label);
  return CachedAnswer{std::move(*body), label == kNoType ? "" : label, entry->tag};
}

std::optional<int32_t> KeepAnswer(const std::string &root, const std::string &url,
                                  const AnswerRecord &record) {
  if (!MayBeKept(record)) return {};
  const int32_t expires = fnQNStack_Cache_getExpired();
  if (expires == kDoNotKeep) return {};
  const Index index(root, IfMissing::kCreate);
  const CachedAnswer &answer = record.Answer();
  const char *label = answer.type.empty() ? nullptr : answer.type.c_str();
  const auto length = static_cast<int32_t>(answer.body.size());
  const int32_t saved =
      fnQNStack_Cache_Save(url.c_str(), label, answer.body.data(), length, expires, answer.status);
  // An index that could not be written does not show in the result.
  if (saved != 1 || !IsOnTheMedium(url, expires)) {
    throw Failure(kNotWritten, "could not write the cache below " + root);
  }
  return expires;
}

std::string CacheTable(const std::string &root) {
  std::vector<Row> rows{{"URL", "SIZE", "STORED", "EXPIRES", "STATE"}};
  const Index index(root, IfMissing::kLeave);
  if (!index.IsOpen()) return Layout(rows);
  const int32_t now = fnQNFS_getLocalTime();
  const QNList *list = fnQNFS_http_cache_list();
  for (const QNListNode *node = fnQNList_BeginIter(list); node != nullptr; node = node->next) {
    rows.push_back(RowOf(*static_cast<const QNCacheEntry *>(node->data), now));
  }
  return Layout(rows);
}

void ClearCache(const std::string &root) {
  const Index index(root, IfMissing::kLeave);
  if (index.IsOpen() && fnQNStack_Cache_Delete_All() != 1) {
    throw Failure(kNotWritten, "could not empty the cache below " + root);
  }
}

}  // namespace qnget
