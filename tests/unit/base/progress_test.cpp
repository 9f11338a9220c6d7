#include "base/progress.h"

#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace quendal {
namespace {

// A drive's stat file: 17 fields, each a one.
std::string statWith(int field, int value) {
  std::string text;
  for (int at = 0; at < 17; ++at) {
    text += std::to_string(at == field ? value : 1) + "  ";
  }
  return text + "\n";
}

TEST(CompletedWork, RequestsAndSectorsCountAndTimesAndWhatIsUnderWayDoNot) {
  const std::uint64_t before = completedWork(statWith(0, 1));

  for (const int field : {0, 2, 4, 6, 11, 13, 15}) {
    EXPECT_EQ(completedWork(statWith(field, 5)), before + 4) << field;
  }
  for (const int field : {1, 3, 5, 7, 8, 9, 10, 12, 14, 16}) {
    EXPECT_EQ(completedWork(statWith(field, 5)), before) << field;
  }
}

TEST(CompletedWork, OlderKernelsHaveElevenFields) {
  EXPECT_EQ(completedWork("   10  0  20  0  30  0  40  0  0  0  0\n"), 100U);
}

TEST(CompletedWork, TextThatIsNoneHasNone) {
  for (const char* text : {"", "\n", "no numbers"}) {
    EXPECT_EQ(completedWork(text), 0U) << text;
  }
}

TEST(UnwrittenKib, IsWhatWaitsAndWhatIsUnderWay) {
  EXPECT_EQ(unwrittenKib("MemTotal:  1 kB\nDirty:       128 kB\nWriteback:    64 kB\nWritebackTmp:   7 kB\n"), 192U);
  EXPECT_EQ(unwrittenKib(""), 0U);
}

TEST(ShrinkingRest, EachFurtherStepBelowTheLowestCounts) {
  ShrinkingRest rest(1000);

  EXPECT_EQ(rest.steps(900, 100), 1U);
  EXPECT_EQ(rest.steps(801, 100), 1U);
  EXPECT_EQ(rest.steps(800, 100), 2U);
}

TEST(ShrinkingRest, OthersThatComeAndGoAreNoProgress) {
  ShrinkingRest rest(1000);

  for (int round = 0; round < 10; ++round) {
    EXPECT_EQ(rest.steps(5000, 100), 0U);
    EXPECT_EQ(rest.steps(1000, 100), 0U);
  }
}

class ProgressOf : public testing::Test {
 protected:
  ProgressOf() {
    std::filesystem::create_directories(root.path() + "/sys/class/block/sda1");
    std::filesystem::create_directories(root.path() + "/proc");
    fake::setSystemRoot(root.path());
  }

  TemporaryFolder root;
};

TEST_F(ProgressOf, DriveFollowsItsCountersAndAPulledOneStandsStill) {
  const Progress progress = driveProgress("sda1");
  EXPECT_EQ(progress(), 0U);

  root.writeFile("sys/class/block/sda1/stat", statWith(6, 100));
  const std::uint64_t first = progress();
  root.writeFile("sys/class/block/sda1/stat", statWith(6, 101));

  EXPECT_EQ(progress(), first + 1);
}

TEST_F(ProgressOf, DriveWhoseCountersCannotBeReadStandsStill) {
  std::filesystem::create_directories(root.path() + "/sys/class/block/sda1/stat");

  EXPECT_EQ(driveProgress("sda1")(), 0U);
}

TEST_F(ProgressOf, FileFollowsItsSize) {
  const Progress progress = fileSizeProgress("/file");
  EXPECT_EQ(progress(), 0U);

  root.writeFile("file", "12345");

  EXPECT_EQ(progress(), 5U);
}

TEST_F(ProgressOf, WritingOutCountsEachMiB) {
  root.writeFile("proc/meminfo", "\nDirty: 5000 kB\nWriteback: 0 kB\n");
  const Progress progress = writeOutProgress();
  EXPECT_EQ(progress(), 0U);

  root.writeFile("proc/meminfo", "\nDirty: 2000 kB\nWriteback: 1976 kB\n");

  EXPECT_EQ(progress(), 1U);
}

}  // namespace
}  // namespace quendal
