// Which name of the kernel's list of partitions a stick is mounted by, and what is written on the way.
#include "maintenance/stick/mount.h"

#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/stick_board.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

class StickPartitions : public testing::Test {
 protected:
  bool mount() { return mountNewStick(driveName, recordedWait); }

  StickBoard board;
  std::string driveName;
};

TEST_F(StickPartitions, DecideOnTheName) {
  board.plug({"sda", "sda1"});
  board.write("/proc/partitions",
              "   8 0 1 sdc1\n   8 0 1 sdd1\n 179 0 7634944 mmcblk0\n 179 1 7634944 mmcblk0p1\n 8 16 1024 sdb\n"
              " 8 17 1024 sdb1\n 8 18 1024 sde1\n");

  EXPECT_TRUE(mount());

  EXPECT_EQ(driveName, "sdb1");
}

TEST_F(StickPartitions, PartitionThatIsNotTheFirstGivesWayToTheBlockDevice) {
  board.plug({"sda"});
  board.write("/proc/partitions", "major minor  #blocks  name\n\n 8 2 1024 sda2\n");

  EXPECT_TRUE(mount());

  EXPECT_EQ(driveName, "sda");
  EXPECT_EQ(fake::commands().at(0), "sudo umount /data/home/sda2");
  EXPECT_EQ(fake::commands().at(1), "sudo umount /data/home/sda");
}

TEST_F(StickPartitions, EveryPartitionLineUpToTheStickIsEchoed) {
  board.plug({"sda1"});
  board.write("/proc/partitions", "head\n\n 179 0 7634944 mmcblk0\n 8 1 1024 sda1\n 8 2 1024 sda2\n");
  const ErrorStreamCapture errors;

  mount();

  EXPECT_TRUE(
      errors.text().starts_with("\r\n 179 0 7634944 mmcblk0\n\r\n179,0,7634944,mmcblk0"
                                "\r\n 8 1 1024 sda1\n\r\n8,1,1024,sda1\nUSB drive found: [/dev/sda1]"));
  EXPECT_EQ(errors.text().find("sda2"), std::string::npos);
}

TEST_F(StickPartitions, LastLineWithoutALineEndIsEchoedWithoutOne) {
  board.plug({"sda1"});
  board.write("/proc/partitions", "head\n\n 8 1 1024 sda1");
  const ErrorStreamCapture errors;

  mount();

  EXPECT_TRUE(errors.text().starts_with("\r\n 8 1 1024 sda1\r\n8,1,1024,sda1\nUSB drive found: [/dev/sda1]"));
}

TEST_F(StickPartitions, NameThatCouldCarryACommandIsNotUsed) {
  board.plug({"sda1"});
  board.write("/proc/partitions", "head\n\n 8 1 1024 sda1;reboot\n");

  EXPECT_TRUE(mount());

  EXPECT_EQ(driveName, "sda1");
  EXPECT_EQ(fake::commands().at(0), "sudo umount /data/home/sda1");
}

}  // namespace
}  // namespace quendal
