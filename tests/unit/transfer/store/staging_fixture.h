// A target directory with an old set of files, and a new one that has been collected for it.
#pragma once

#include "support/error_stream_capture.h"
#include "support/temporary_folder.h"
#include "transfer/store/staging_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace quendal {

class StagingFixture : public testing::Test {
 protected:
  using Tree = std::map<std::string, std::string>;

  const Tree oldSet = {{"a", "old"}, {"other", "stays"}, {"sub/b", "old"}};
  const Tree newSet = {{"a", "new 0"}, {"c", "new 2"}, {"other", "stays"}, {"sub/b", "new 1"}};
  const std::vector<StagedFile> files = {{0, "a"}, {1, "sub/b"}, {2, "c"}};

  StagingFixture() { makeOldSet(); }

  void makeOldSet() const {
    std::filesystem::remove_all(target);
    for (const auto& [name, content] : oldSet) {
      folder.writeFile("target/" + name, content);
    }
  }

  void collect() const {
    for (const StagedFile& file : files) {
      const std::string number = std::to_string(file.number);
      folder.writeFile("target/.quendal-staged/" + number, "new " + number);
    }
  }

  void writeJournal(const std::string& text) const { folder.writeFile("target/.quendal-staged/journal", text); }

  // The files below the target and their contents.
  Tree tree() const {
    Tree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(target)) {
      if (entry.is_regular_file()) {
        tree[std::filesystem::relative(entry.path(), target)] = readFile(entry.path());
      }
    }
    return tree;
  }

  bool isStagingFolderGone() const { return !std::filesystem::exists(staging); }

  // In memory: a busy disk would make hundreds of syncs slow, and none of these tests is about its power.
  struct InMemory {
    InMemory() { setenv("TMPDIR", "/dev/shm", 1); }
  };

  InMemory inMemory;
  TemporaryFolder folder;
  std::string target = folder.path() + "/target";
  std::string staging = target + "/.quendal-staged";
};

}  // namespace quendal
