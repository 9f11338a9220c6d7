// Looking at folders that may vanish at any time, such as those of a stick. Nothing here throws.
#pragma once

#include <string>
#include <vector>

namespace quendal {

/// Is there a folder at `path`?
bool isFolder(const std::string& path);

/// The names in the folder at `path`, in the folder's own order. One that cannot be listed counts as
/// empty.
std::vector<std::string> folderEntries(const std::string& path);

/// Does the folder at `path` hold anything that is not a folder itself?
bool holdsFile(const std::string& path);

}  // namespace quendal
