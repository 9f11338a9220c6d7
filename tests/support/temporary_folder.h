// A folder of a test's own, removed with everything in it.
#pragma once

#include <string>

namespace quendal {

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  TemporaryFolder(TemporaryFolder&&) = delete;
  TemporaryFolder& operator=(TemporaryFolder&&) = delete;

  const std::string& path() const { return path_; }

  /// Writes a file below the folder, with the folders on its way, and returns its path.
  std::string writeFile(const std::string& name, const std::string& content) const;

 private:
  std::string path_;
};

/// The whole content of the file at `path`; empty when there is none.
std::string readFile(const std::string& path);

}  // namespace quendal
