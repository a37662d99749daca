// SPDX-License-Identifier: MIT
// What --cache-list prints.
#include <algorithm>
#include <ctime>
#include <vector>

#include "cache.h"
#include "cache_index.h"
#include "shown_time.h"
#include "visible.h"

namespace qnget {
namespace {

using Row = std::vector<std::string>;

// An entry whose label cannot be read is never served.
Row RowOf(const QNCacheEntry &entry, int64_t now) {
  const std::string url = Visible(entry.url == nullptr ? "" : entry.url);
  const std::string size = std::to_string(entry.size);
  const std::optional<CacheLabel> label = LabelOf(entry);
  if (!label) return {url, size, "-", "-", "stale"};
  const std::string age = label->came <= now ? ShownAge(now - label->came) : "-";
  return {url, size, age, ShownDate(label->until), label->IsFreshAt(now) ? "fresh" : "stale"};
}

// Columns as wide as their widest cell; ages and the like stand to the right.
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

std::string CacheTable(const std::string &root) {
  std::vector<Row> rows{{"URL", "SIZE", "AGE", "EXPIRES", "STATE"}};
  const CacheIndex index(root, Purpose::kRead);
  if (!index.IsOpen()) return Layout(rows);
  const int64_t now = time(nullptr);
  for (const QNCacheEntry *entry : CacheIndex::Entries()) {
    if (HasBody(*entry)) rows.push_back(RowOf(*entry, now));
  }
  return Layout(rows);
}

}  // namespace qnget
