#include "maintenance/text_split.h"

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

}  // namespace
}  // namespace quendal
