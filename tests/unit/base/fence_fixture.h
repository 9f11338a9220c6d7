// A target directory with a folder beside it, which no received name may reach.
#pragma once

#include "base/fenced_file.h"

#include "support/temporary_folder.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace quendal {

namespace fs = std::filesystem;

class FenceFixture : public testing::Test {
 protected:
  FenceFixture() {
    fs::create_directory(target);
    fs::create_directory(outside);
  }

  void receive(const std::string& name, const std::string& data) const {
    FencedFile file(target, name);
    file.write(std::as_bytes(std::span(data)));
    file.close();
  }

  // Everything below the target and beside it, with the content of the files.
  std::string treeText() const {
    std::string text;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      text += entry.path().string() + (entry.is_regular_file() ? "=" + readFile(entry.path()) : "") + "\n";
    }
    return text;
  }

  void expectRefusedUntouched(const std::string& name) const {
    const std::string before = treeText();
    EXPECT_THROW(receive(name, "data"), Poco::Exception) << name;
    EXPECT_EQ(treeText(), before) << name;
  }

  TemporaryFolder folder;
  std::string target = folder.path() + "/target";
  std::string outside = folder.path() + "/outside";
};

}  // namespace quendal
