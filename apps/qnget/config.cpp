// SPDX-License-Identifier: MIT
#include "config.h"

#include "cache.h"
#include "failure.h"
#include "settings.h"
#include "visible.h"

namespace qnget {
namespace {

Settings OpenSettings(const Options &options, Purpose purpose) {
  return {options.folders, options.operator_name, purpose};
}

std::string SetSetting(const Options &options) {
  OpenSettings(options, Purpose::kWrite).Set(options.key, options.value);
  return {};
}

std::string UnsetSetting(const Options &options) {
  OpenSettings(options, Purpose::kChange).Unset(options.key);
  return {};
}

std::string GetSetting(const Options &options) {
  const auto value = OpenSettings(options, Purpose::kRead).Get(options.key);
  if (!value) throw Failure(kUsage, options.key + " is not set");
  return *value + "\n";
}

std::string ListSettings(const Options &options) {
  std::string text;
  for (const auto &[key, value] : OpenSettings(options, Purpose::kRead).All()) {
    text += Visible(key) + ": " + Visible(value) + "\n";
  }
  return text;
}

}  // namespace

std::string LookAfterStore(const Options &options) {
  switch (options.task) {
    case Task::kSetSetting:
      return SetSetting(options);
    case Task::kGetSetting:
      return GetSetting(options);
    case Task::kListSettings:
      return ListSettings(options);
    case Task::kUnsetSetting:
      return UnsetSetting(options);
    case Task::kClearCache:
      ClearCache(options.folders.cache);
      return {};
    default:
      return CacheTable(options.folders.cache);
  }
}

}  // namespace qnget
