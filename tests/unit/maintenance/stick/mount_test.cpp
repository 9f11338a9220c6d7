#include "maintenance/stick/mount.h"

#include "maintenance/stick/stick_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/stick_board.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const Events kSettled = {"sleep 5000", "sleep 3000"};
const Events kMounted = {"run sudo mkdir -p /data/home/sda1", "run sudo mount -t vfat /dev/sda1 -w /data/home/sda1",
                         "sleep 3000"};

Events joined(Events first, const Events& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

class StickMount : public testing::Test {
 protected:
  bool mount() { return mountNewStick(driveName, recordedWait); }

  StickBoard board;
  std::string driveName;
};

TEST_F(StickMount, WithoutADriveNothingHappens) {
  const ErrorStreamCapture errors;

  EXPECT_FALSE(mount());

  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(errors.text(), "");
  EXPECT_FALSE(shared::usbDrivePresent);
}

TEST_F(StickMount, BlockDevicesThatCannotBeListedCountAsNone) {
  board.unplug();
  fake::setSystemRoot("/proc/self/no/such/root");

  EXPECT_FALSE(mount());

  EXPECT_EQ(fake::events(), Events());
}

TEST_F(StickMount, FirstPlugReleasesTwiceMakesTheMountPointAndMounts) {
  board.plug({"sda", "sda1"});
  const ErrorStreamCapture errors;

  EXPECT_TRUE(mount());

  const Events released(2, "run sudo umount /data/home/sda1");
  EXPECT_EQ(fake::events(), joined(joined(kSettled, released), kMounted));
  EXPECT_EQ(driveName, "sda1");
  EXPECT_TRUE(shared::usbDrivePresent);
  EXPECT_EQ(errors.text(),
            "\r\n   8 0 1024 sda\n\r\n8,0,1024,sda"
            "\r\n   8 1 1024 sda1\n\r\n8,1,1024,sda1"
            "\nUSB drive found: [/dev/sda1]"
            "\nUSB drive found: [/dev/sda1]"
            "\nusb thumbdrive first time plugged,mounting..."
            "\nMounting USB drive......"
            "\n>>sudo mount -t vfat /dev/sda1 -w /data/home/sda1");
}

TEST_F(StickMount, DriveWithoutAPartitionIsReleasedOnceAndMountedItself) {
  board.plug({"sda"});

  EXPECT_TRUE(mount());

  EXPECT_EQ(fake::commands(), (Events{"sudo umount /data/home/sda", "sudo mkdir -p /data/home/sda",
                                      "sudo mount -t vfat /dev/sda -w /data/home/sda"}));
}

// No kernel gives such a name. Nothing is released for it, and it never counts as plugged.
TEST_F(StickMount, DriveNamedLikeAMemoryCardIsMountedInEveryCycle) {
  board.plug({"mmcsd1"});
  board.refuseMounts();

  EXPECT_TRUE(mount());
  EXPECT_TRUE(mount());

  const Events cycle = {"sudo mkdir -p /data/home/mmcsd1", "sudo mount -t vfat /dev/mmcsd1 -w /data/home/mmcsd1"};
  EXPECT_EQ(fake::commands(), joined(cycle, cycle));
  EXPECT_FALSE(shared::usbDrivePresent);
}

TEST_F(StickMount, StickThatStaysIsServedOnce) {
  board.plug({"sda", "sda1"});
  EXPECT_TRUE(mount());
  const Events first = fake::events();

  EXPECT_FALSE(mount());
  EXPECT_FALSE(mount());

  EXPECT_EQ(fake::events(), first);
}

TEST_F(StickMount, PulledStickIsUnmountedOnceAndItsNameForgotten) {
  board.plug({"sda", "sda1"});
  mount();
  board.unplug();
  const std::size_t before = fake::events().size();
  const ErrorStreamCapture errors;

  EXPECT_FALSE(mount());
  EXPECT_FALSE(mount());

  EXPECT_EQ(fake::events().size(), before + 1);
  EXPECT_EQ(fake::events().back(), "run sudo umount /data/home/sda1");
  EXPECT_EQ(errors.text(), "\nto umount drv:sda1");
  EXPECT_EQ(driveName, "");
  EXPECT_FALSE(shared::usbDrivePresent);
}

TEST_F(StickMount, StickThatComesBackIsServedFromTheStart) {
  board.plug({"sda", "sda1"});
  mount();
  const Events first = fake::events();
  board.unplug();
  mount();
  board.plug({"sda", "sda1"});

  EXPECT_TRUE(mount());

  EXPECT_EQ(fake::events(), joined(joined(first, {"run sudo umount /data/home/sda1"}), first));
}

// Every cycle takes the name from the block devices, also while a stick is served already: with two
// sticks the one that is named last is released. The other's mount is gone with the stick itself.
TEST_F(StickMount, NameFollowsTheBlockDevicesWhileAStickIsPlugged) {
  board.plug({"sda", "sda1"});
  mount();
  board.unplug();
  board.plug({"sdb1"});
  const std::size_t before = fake::events().size();

  EXPECT_FALSE(mount());

  EXPECT_EQ(driveName, "sdb1");
  EXPECT_EQ(fake::events().size(), before);
}

TEST_F(StickMount, StickThatCannotBeReleasedIsLeftUntilItWasPulled) {
  board.plug({"sda", "sda1"});
  board.makeStickFolder("KVCFG");
  mount();
  board.refuseUnmounts();
  board.unplug();
  mount();
  board.plug({"sda", "sda1"});
  const std::size_t before = fake::events().size();
  const ErrorStreamCapture errors;

  EXPECT_FALSE(mount());
  EXPECT_FALSE(mount());

  const Events released(2, "run sudo umount /data/home/sda1");
  const Events events = fake::events();
  EXPECT_EQ(Events(events.begin() + static_cast<std::ptrdiff_t>(before), events.end()), joined(kSettled, released));
  EXPECT_TRUE(
      errors.text().ends_with("\nUSB drive found: [/dev/sda1]"
                              "\nunmounting failures...CFG usb thumbdrive still plugged,pls remove..."));
  EXPECT_TRUE(shared::usbDrivePresent);
}

TEST_F(StickMount, StaleMountThatCanBeReleasedIsNoObstacle) {
  board.plug({"sda", "sda1"});
  board.makeStickFolder("KVCFG");
  mount();
  ASSERT_TRUE(board.exists("/data/home/sda1/KVCFG"));
  shared::usbDrivePresent = false;

  EXPECT_TRUE(mount());
}

TEST_F(StickMount, FailedMountIsNotNoticed) {
  board.plug({"sda", "sda1"});
  board.refuseMounts();
  fake::setShellStatus(32 * 256);

  EXPECT_TRUE(mount());
}

TEST_F(StickMount, StopBeforeTheStickIsMountedLeavesItAlone) {
  board.plug({"sda", "sda1"});

  for (const int stopAt : {1, 2}) {
    fake::reset();
    fake::setSystemRoot(board.at(""));
    int waits = 0;
    EXPECT_FALSE(mountNewStick(driveName, [&](long milliseconds) {
      recordedWait(milliseconds);
      return ++waits == stopAt;
    }));

    EXPECT_EQ(fake::events(), Events(kSettled.begin(), kSettled.begin() + stopAt));
    EXPECT_FALSE(shared::usbDrivePresent);
  }
}

TEST_F(StickMount, StopWhileTheStickIsMountedEndsItsDuties) {
  board.plug({"sda", "sda1"});
  int waits = 0;

  EXPECT_FALSE(mountNewStick(driveName, [&](long /*milliseconds*/) { return ++waits == 3; }));

  EXPECT_EQ(fake::commands().back(), "sudo mount -t vfat /dev/sda1 -w /data/home/sda1");
}

}  // namespace
}  // namespace quendal
