// The working directory, as a fuzz target must leave it: libFuzzer's own paths are relative.
#pragma once

#include <filesystem>

namespace quendal::fuzz {

/// Puts the working directory back at the end of the scope.
class WorkingDirectory {
 public:
  WorkingDirectory() = default;
  ~WorkingDirectory() { std::filesystem::current_path(before_); }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;
  WorkingDirectory(WorkingDirectory&&) = delete;
  WorkingDirectory& operator=(WorkingDirectory&&) = delete;

 private:
  std::filesystem::path before_ = std::filesystem::current_path();
};

}  // namespace quendal::fuzz
