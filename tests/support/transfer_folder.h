// The directories that a transfer writes to, set in the shared state.
#pragma once

#include "base/shared_state.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <string>

namespace quendal {

/// A target, a scratch directory and a working directory beside them. The process stays in the latter.
class TransferFolder {
 public:
  TransferFolder() {
    for (const char* name : {"target", "scratch", "bin"}) {
      std::filesystem::create_directory(folder_.path() + "/" + name);
    }
    std::filesystem::current_path(folder_.path() + "/bin");
    shared::targetRootDir = folder_.path() + "/target";
    shared::tempDestDir = folder_.path() + "/scratch";
  }

  std::string target(const std::string& name) const { return folder_.path() + "/target/" + name; }
  std::string scratch(const std::string& name) const { return folder_.path() + "/scratch/" + name; }

  void writeTarget(const std::string& name, const std::string& content) const {
    folder_.writeFile("target/" + name, content);
  }

  /// The archive log, beside the working directory.
  std::string archiveLog() const { return folder_.path() + "/LogZipTmp.dat"; }

 private:
  TemporaryFolder folder_;
};

}  // namespace quendal
