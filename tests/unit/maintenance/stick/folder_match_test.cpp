#include "maintenance/stick/folder_match.h"

#include "base/text.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

const DisplayIdentity kOwn{.groupNo = 1, .columnNo = 2, .displayNo = 3};

std::optional<DisplayIdentity> numbersOf(const std::string& name) {
  return parseFolderName(split(name, "."));
}

std::optional<int> weightOf(const std::string& name) {
  return folderWeight(*numbersOf(name), kOwn);
}

std::string bestOf(const std::vector<std::string>& names) {
  FolderChoice best;
  for (const std::string& name : names) {
    considerFolder(name, kOwn, best);
  }
  return best.name;
}

TEST(FolderName, HasExactlyThreeNumbers) {
  EXPECT_EQ(numbersOf("1.2.3"), kOwn);
  EXPECT_EQ(numbersOf("1.2"), std::nullopt);
  EXPECT_EQ(numbersOf("1.2.3.4"), std::nullopt);
  EXPECT_EQ(numbersOf(""), std::nullopt);
}

TEST(FolderName, EmptyMiddleNumberIsAColumnWildcard) {
  EXPECT_EQ(numbersOf("1..3"), (DisplayIdentity{.groupNo = 1, .columnNo = 0, .displayNo = 3}));
  EXPECT_EQ(weightOf("1..3"), 101);
}

TEST(FolderName, TextThatIsNoNumberIsAWildcard) {
  EXPECT_EQ(numbersOf("a.b.c"), DisplayIdentity());
  EXPECT_EQ(numbersOf("1x. 2.x3"), (DisplayIdentity{.groupNo = 1, .columnNo = 2, .displayNo = 0}));
}

TEST(FolderName, NumberIsCutToSixteenBits) {
  EXPECT_EQ(numbersOf("65537.65536.65535"), (DisplayIdentity{.groupNo = 1, .columnNo = 0, .displayNo = 65535}));
  EXPECT_EQ(numbersOf("-1.0x10.010"), (DisplayIdentity{.groupNo = 65535, .columnNo = 0, .displayNo = 10}));
  EXPECT_EQ(numbersOf("99999999999999999999.0.0")->groupNo, 65535);
  EXPECT_EQ(weightOf("65537.65538.65539"), 111);
}

TEST(FolderMatch, WeighsGroupColumnAndUnit) {
  struct Case {
    const char* name = "";
    std::optional<int> weight;
  };
  const std::vector<Case> cases = {
      {"1.2.3", 111},
      {"1.2.0", 110},
      {"1.0.3", 101},
      {"1.0.0", 100},
      {"0.2.3", 11},
      {"0.2.0", 10},
      {"0.0.3", 1},
      {"0.0.0", 0},
      {"..", 0},
      {"2.2.3", std::nullopt},
      {"1.1.3", std::nullopt},
      {"1.2.4", std::nullopt},
  };

  for (const Case& each : cases) {
    EXPECT_EQ(weightOf(each.name), each.weight) << each.name;
  }
}

TEST(FolderMatch, OwnNumberZeroWeighsLikeAnyOther) {
  const DisplayIdentity own{.groupNo = 0, .columnNo = 2, .displayNo = 3};

  EXPECT_EQ(folderWeight({.groupNo = 0, .columnNo = 0, .displayNo = 0}, own), 100);
  EXPECT_EQ(folderWeight({.groupNo = 1, .columnNo = 2, .displayNo = 3}, own), std::nullopt);
}

TEST(FolderMatch, ExactFolderBeatsWildcardsInAnyOrder) {
  EXPECT_EQ(bestOf({"1.2.3", "1.0.0", "0.0.0"}), "1.2.3");
  EXPECT_EQ(bestOf({"0.0.0", "1.0.0", "1.2.3"}), "1.2.3");
}

TEST(FolderMatch, ColumnOutweighsUnit) {
  EXPECT_EQ(bestOf({"1.0.3", "1.2.0"}), "1.2.0");
  EXPECT_EQ(bestOf({"1.2.0", "1.0.3"}), "1.2.0");
}

TEST(FolderMatch, OfEqualWeightsTheFirstStays) {
  EXPECT_EQ(bestOf({"1.a.3", "1.0.3"}), "1.a.3");
  EXPECT_EQ(bestOf({"1.0.3", "1.a.3"}), "1.0.3");
}

TEST(FolderMatch, FolderOfWildcardsOnlyIsBetterThanNone) {
  EXPECT_EQ(bestOf({"2.0.0", "0.0.0"}), "0.0.0");
  EXPECT_EQ(bestOf({"2.0.0", "1.2", "1.2.3.4"}), "");
}

TEST(FolderReport, TellsTheWholeComparisonOfAMatch) {
  FolderChoice best;

  EXPECT_EQ(considerFolder("1.0.3", kOwn, best),
            "\nsub path name:1.0.3"
            "\ntoken Number:3"
            "\ngId-cId-uId: 1:0:3"
            "\nmy GroupId-ColumnId-UnitId: 1:2:3"
            "\n*1*0*1\n"
            "\nMatched gId:1cId:0uId:3"
            "\nweight:101  File:1.0.3");
  EXPECT_EQ(best.weight, 101);
}

TEST(FolderReport, MatchThatIsNoBetterHasNoWeightLine) {
  FolderChoice best{.name = "1.a.3", .weight = 101};

  EXPECT_EQ(considerFolder("1.0.3", kOwn, best),
            "\nsub path name:1.0.3\ntoken Number:3\ngId-cId-uId: 1:0:3\nmy GroupId-ColumnId-UnitId: 1:2:3\n*1*0*1\n"
            "\nMatched gId:1cId:0uId:3");
  EXPECT_EQ(best.name, "1.a.3");
}

TEST(FolderReport, FolderOfAnotherDisplayEndsWithTheComparison) {
  FolderChoice best;

  EXPECT_EQ(considerFolder("65535.2.4", kOwn, best),
            "\nsub path name:65535.2.4\ntoken Number:3\ngId-cId-uId: 65535:2:4"
            "\nmy GroupId-ColumnId-UnitId: 1:2:3\n*0*1*0\n");
}

TEST(FolderReport, OtherNamesEndWithTheirPartsOrTheirName) {
  FolderChoice best;

  EXPECT_EQ(considerFolder("readme.txt", kOwn, best), "\nsub path name:readme.txt\ntoken Number:2");
  EXPECT_EQ(considerFolder("", kOwn, best), "\nsub path name:");
  EXPECT_EQ(best.weight, -1);
}

}  // namespace
}  // namespace quendal
