// A working tree as the service is started in: bin beside Work, Dest and a temporary directory.
#pragma once

#include "support/temporary_folder.h"

#include <string>
#include <utility>
#include <vector>

namespace quendal {

/// Makes the tree with a complete configuration (identity 1/2/3, landscape), enters its bin and has
/// system paths and the temporary directory lead into it. The process stays there.
class StartFolder {
 public:
  using Keys = std::vector<std::pair<std::string, std::string>>;

  StartFolder();

  const std::string& path() const { return folder_.path(); }

  void write(const std::string& name, const std::string& content) const { folder_.writeFile(name, content); }

  /// Writes Work/Quendal_L.ini with its required keys, `keys` changed or added, and `rest` behind.
  void writeServiceIni(const Keys& keys = {}, const std::string& rest = {}) const;

  /// The same with one required key left out.
  void writeServiceIniWithout(const std::string& key) const;

 private:
  TemporaryFolder folder_;
};

}  // namespace quendal
