#include "base/text.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

using Pieces = std::vector<std::string>;

TEST(TextSplit, KeepsEveryPieceAndEveryEmptyOne) {
  struct Case {
    const char* text;
    const char* separator;
    Pieces pieces;
  };
  const std::vector<Case> cases = {
      {"1.2.3", ".", {"1", "2", "3"}},
      {"abc", ".", {"abc"}},
      {"1..3", ".", {"1", "", "3"}},
      {".", ".", {"", ""}},
      {"a;", ";", {"a", ""}},
      {";a", ";", {"", "a"}},
      {"", ";", {""}},
      {"a::b", "::", {"a", "b"}},
      {"a:::b", "::", {"a", ":b"}},
      {"a::::b", "::", {"a", "", "b"}},
      {"a;b", "", {"a;b"}},
      {"", "", {""}},
  };

  for (const Case& each : cases) {
    EXPECT_EQ(split(each.text, each.separator), each.pieces) << each.text << " at " << each.separator;
  }
}

TEST(TextSplit, HandlesAThousandEntries) {
  std::string text = "x";
  for (int entry = 1; entry < 1000; ++entry) {
    text += ";x";
  }

  EXPECT_EQ(split(text, ";"), Pieces(1000, "x"));
}

TEST(Contains, AnywhereInTheTextAndMindingItsCase) {
  EXPECT_TRUE(contains("FileList.sys", "FileList.sys"));
  EXPECT_TRUE(contains("oldFileList.sys.bak", "FileList.sys"));
  EXPECT_TRUE(contains("text", ""));
  EXPECT_FALSE(contains("filelist.sys", "FileList.sys"));
  EXPECT_FALSE(contains("FileList.sy", "FileList.sys"));
}

TEST(LowerCase, TurnsOnlyAToZ) {
  EXPECT_EQ(asciiLowerCase("AZaz09[@`{"), "azaz09[@`{");
  EXPECT_EQ(asciiLowerCase("\xC4\xD6"), "\xC4\xD6") << "whatever an old code page calls these";
}

}  // namespace
}  // namespace quendal
