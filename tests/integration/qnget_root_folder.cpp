// SPDX-License-Identifier: MIT
#include "qnget_root_folder.h"

#include <ctime>
#include <filesystem>
#include <fstream>

#include "cache_label.h"
#include "identity.h"
#include "options.h"
#include "request.h"

namespace qntest {
namespace {

std::string LabelFor(const std::string &body, const Kept &kept) {
  const int64_t now = time(nullptr);
  const qnget::Identity plain({}, qnget::RequestFields({}));
  return qnget::LabelText({now - kept.age, now + kept.seconds_left, qnget::ChecksumOf(body),
                           "text/plain", plain.TextFor({})});
}

}  // namespace

void RootFolder::Set(const std::string &key, const std::string &value, const Words &more) const {
  EXPECT_EQ(Run(Joined({"config", "set", key, value}, more)).exit_code, 0);
}

void RootFolder::WriteSettings(const std::string &content) const {
  std::filesystem::create_directories(root_);
  std::ofstream(root_ + "/settings.ini", std::ios::binary) << content;
}

std::string SettingLine(const std::string &key, const std::string &value) {
  return key + '\0' + value + std::string("\0\n", 2);
}

void CacheFolder::Save(const std::string &url, const std::string &body, const Kept &kept) const {
  const std::string folder = root_ + "/wap/ca/";
  std::filesystem::create_directories(folder);
  std::ofstream(folder + std::to_string(kept.file_no), std::ios::binary) << body;
  std::ofstream index(folder + "ca.txt", std::ios::binary | std::ios::app);
  const std::string label = kept.label.empty() ? LabelFor(body, kept) : kept.label;
  for (const std::string &field :
       {url, label, std::to_string(kept.file_no), std::to_string(body.size()),
        std::to_string(kept.expires), std::string("-5"), std::string("200")}) {
    index << field << '\0';
  }
}

}  // namespace qntest
