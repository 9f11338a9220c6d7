#include "maintenance/stick/drive.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(DriveChoice, FollowsTheOrderOfTheBlockDevices) {
  struct Case {
    std::vector<std::string> blockNames;
    const char* drive;
  };
  const std::vector<Case> cases = {
      {{}, ""},
      {{"loop0", "mmcblk0", "mmcblk0p1", "ram1"}, ""},
      {{"sda", "sda1"}, "sda1"},
      {{"sda1", "sda"}, "sda1"},
      {{"sda"}, "sda"},
      {{"sda", "sdb"}, "sdb"},
      {{"sda", "sda2", "sda3"}, "sda3"},
      {{"sdb1", "sda1"}, "sdb1"},
      {{"sda2", "sda1", "sdb"}, "sda1"},
      {{"mmcblk0p1", "sda"}, "sda"},
      {{"sda12", "sda1"}, "sda12"},
  };

  for (const Case& each : cases) {
    EXPECT_EQ(chooseDrive(each.blockNames), each.drive) << testing::PrintToString(each.blockNames);
  }
}

TEST(DriveChoice, NameThatCouldCarryACommandIsNotUsed) {
  EXPECT_EQ(chooseDrive({"sda1;reboot", "sda 1", "sd!1", "sd-1", "sd/1", "sd$(id)1", "sd\n1", "sd\xE4\x31"}), "");
  EXPECT_EQ(chooseDrive({"sda1;reboot", "sdb1"}), "sdb1");
}

TEST(PartitionLine, ReadsNumbersAndName) {
  const PartitionLine expected{.majorNo = 8, .minorNo = 1, .blocks = 15630336, .name = "sda1"};

  EXPECT_EQ(parsePartitionLine("   8        1   15630336 sda1\n"), expected);
  EXPECT_EQ(parsePartitionLine("8 1 15630336 sda1"), expected);
  EXPECT_EQ(parsePartitionLine("8\t1\t15630336\tsda1 rest"), expected);
}

TEST(PartitionLine, KeepsTheBlocksOfAVeryLargeDisk) {
  EXPECT_EQ(parsePartitionLine("   8 1 9767541167 sda1\n").blocks, 9767541167);
}

TEST(PartitionLine, FieldsThatAreNotThereAreZeroOrEmpty) {
  EXPECT_EQ(parsePartitionLine("\n"), PartitionLine());
  EXPECT_EQ(parsePartitionLine("text\n"), PartitionLine());
  EXPECT_EQ(parsePartitionLine("8 1\n"), (PartitionLine{.majorNo = 8, .minorNo = 1, .blocks = 0, .name = ""}));
}

TEST(PartitionReport, EchoesTheRawLineWithItsOwnLineEnd) {
  const std::string line = "   8        1   15630336 sda1\n";

  EXPECT_EQ(partitionReport(line, parsePartitionLine(line)),
            "\r\n   8        1   15630336 sda1\n\r\n8,1,15630336,sda1");
}

TEST(StickPartition, NeedsAnSdNameOfFourLettersThatIsNoMemoryCard) {
  for (const char* name : {"sda1", "sdb2", "sda12", "xsd1"}) {
    EXPECT_TRUE(isStickPartition(name)) << name;
  }
  for (const char* name : {"", "sda", "sd1", "mmcblk0p1", "mmcsd1", "sdmmc1", "nvme0n1", "sda1;x", "sda 1"}) {
    EXPECT_FALSE(isStickPartition(name)) << name;
  }
}

TEST(StickDrive, NeedsAnSdNameOfMoreThanTwoLettersThatIsNoMemoryCard) {
  for (const char* name : {"sda", "sda1", "sdb"}) {
    EXPECT_TRUE(isStickDrive(name)) << name;
  }
  for (const char* name : {"", "sd", "mmcsd1", "hda1", "sda&"}) {
    EXPECT_FALSE(isStickDrive(name)) << name;
  }
}

TEST(PreferPartition, TakesTheLastSdNameWithoutAFirstPartition) {
  EXPECT_EQ(preferPartition("sda1", "sdb"), "sda1");
  EXPECT_EQ(preferPartition("sda2", "sdb"), "sdb");
  EXPECT_EQ(preferPartition("hda1", "sda"), "sda");
  EXPECT_EQ(preferPartition("", "sda"), "sda");
}

TEST(DriveCommands, NameTheDriveAndItsMountPoint) {
  EXPECT_EQ(mountPointOf("sda1"), "/data/home/sda1");
  EXPECT_EQ(unmountCommand("/data/home/sda1"), "sudo umount /data/home/sda1");
  EXPECT_EQ(makeMountPointCommand("sda1"), "sudo mkdir -p /data/home/sda1");
  EXPECT_EQ(mountCommand("sda1"), "sudo mount -t vfat /dev/sda1 -w /data/home/sda1");
  EXPECT_EQ(driveFoundReport("sda1"), "USB drive found: [/dev/sda1]");
}

}  // namespace
}  // namespace quendal
