#include "base/folders.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace quendal {

bool isFolder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

std::vector<std::string> folderEntries(const std::string& path) {
  std::vector<std::string> names;
  std::error_code failed;
  std::filesystem::directory_iterator entry(path, failed);
  while (!failed && entry != std::filesystem::directory_iterator()) {
    names.push_back(entry->path().filename().string());
    entry.increment(failed);
  }
  return names;
}

bool holdsFile(const std::string& path) {
  const std::vector<std::string> names = folderEntries(path);
  return std::any_of(names.begin(), names.end(),
                     [&path](const std::string& name) { return !isFolder(path + "/" + name); });
}

}  // namespace quendal
