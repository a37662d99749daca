#include "qnget_cache_folder.h"

#include <filesystem>
#include <fstream>

namespace qntest {

ProcessResult CacheFolder::Fetch(const std::vector<std::string> &arguments) const {
  std::vector<std::string> all{"--root", root_, "--cache"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunQnget(all);
}

std::string CacheFolder::List() const { return RunQnget({"--root", root_, "--cache-list"}).output; }

void CacheFolder::Save(const std::string &url, const std::string &body, int32_t expires,
                       int32_t file_no) const {
  const std::string folder = root_ + "/wap/ca/";
  std::filesystem::create_directories(folder);
  std::ofstream(folder + std::to_string(file_no), std::ios::binary) << body;
  std::ofstream index(folder + "ca.txt", std::ios::binary | std::ios::app);
  for (const std::string &field :
       {url, std::string("text/plain"), std::to_string(file_no), std::to_string(body.size()),
        std::to_string(expires), std::string("-5"), std::string("200")}) {
    index << field << '\0';
  }
}

}  // namespace qntest
