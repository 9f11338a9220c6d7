#include "maintenance/usb_duties.h"

#include "app/shared_state.h"
#include "maintenance/main_task.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/semaphore_set.h"
#include "support/stick_board.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const std::string kRestart = "sudo systemctl reboot -i";
const std::string kUnmount = "sudo umount /data/home/sda1";
const std::string kBackup = "sudo cp -a /data/app /data/home/sda1/KVBAK/";
const std::string kRawData = "sudo cp /data/app/log/RawData*.* /data/home/sda1/KVLOG";

class UsbDuties : public testing::Test {
 protected:
  UsbDuties() { board.plug({"sda", "sda1"}); }

  // The commands behind the mount.
  Events serve() {
    std::string driveName;
    runStickDuties(driveName, recordedWait);
    Events commands = fake::commands();
    commands.erase(commands.begin(), commands.begin() + 4);
    return commands;
  }

  StickBoard board;
  ErrorStreamCapture errors;
};

bool contains(const Events& events, const std::string& event) {
  return std::find(events.begin(), events.end(), event) != events.end();
}

TEST_F(UsbDuties, StickWithoutFoldersIsOnlySearched) {
  EXPECT_EQ(serve(), Events());
  EXPECT_TRUE(errors.text().ends_with("\nKVCFG Not found on usb drive!"));
}

TEST_F(UsbDuties, StickThatCouldNotBeMountedHasNoFolders) {
  board.makeStickFolder("KVBAK");
  board.refuseMounts();

  EXPECT_EQ(serve(), Events());
}

TEST_F(UsbDuties, BackupEndsInARestart) {
  board.makeStickFolder("KVBAK");

  EXPECT_EQ(serve(), (Events{kBackup, kRestart}));
}

TEST_F(UsbDuties, RawDataThenBackupThenRestart) {
  board.makeStickFolder("KVLOG");
  board.makeStickFolder("KVBAK");
  board.write("/data/app/kavenor/Work/Marlox.ini", "LOGDATA = 1\n");

  EXPECT_EQ(serve(), (Events{kRawData, kBackup, kRestart}));
}

TEST_F(UsbDuties, ConfigurationPreventsTheRestartAfterABackup) {
  board.makeStickFolder("KVBAK");
  board.makeStickFolder("KVCFG/0.0.0");

  EXPECT_EQ(serve(), Events{kBackup});
  EXPECT_TRUE(errors.text().ends_with("\n CFGroot:/data/home/sda1/KVCFG/0.0.0/"));
}

TEST_F(UsbDuties, AfterALogExportNothingElseOfTheStickIsSeenAndTwoRestartsAreAskedFor) {
  for (const char* folder : {"KVLOG", "KVBAK", "KVCFG/0.0.0"}) {
    board.makeStickFolder(folder);
  }

  const Events commands = serve();

  EXPECT_TRUE(contains(commands, kUnmount));
  EXPECT_FALSE(contains(commands, kBackup));
  EXPECT_EQ(std::count(commands.begin(), commands.end(), kRestart), 2);
  EXPECT_EQ(commands.back(), kRestart);
  EXPECT_TRUE(errors.text().ends_with("\nKVCFG Not found on usb drive!"));
}

TEST_F(UsbDuties, LogExportWithAFileOnTheBareMountPointAsksForOneRestart) {
  board.makeStickFolder("KVLOG");
  bool logsMoved = false;
  board.onEvent([this, &logsMoved](const std::string& event) {
    logsMoved = logsMoved || event.starts_with("run sudo mv ");
    if (logsMoved && event == "run " + kUnmount) {
      board.write("/data/home/sda1/note.txt", "x");
    }
  });

  const Events commands = serve();

  EXPECT_EQ(std::count(commands.begin(), commands.end(), kRestart), 1);
}

TEST_F(UsbDuties, StickWithoutALogFolderGetsNoReadBack) {
  board.makeStickFolder("KVSOURCE");
  board.write("/data/app/kavenor/Work/Package_Hub.zip", "hub");

  EXPECT_EQ(serve(), Events());
}

TEST_F(UsbDuties, StickThatStaysIsServedOnce) {
  board.makeStickFolder("KVBAK");
  std::string driveName;
  runStickDuties(driveName, recordedWait);
  const Events first = fake::commands();

  runStickDuties(driveName, recordedWait);

  EXPECT_EQ(fake::commands(), first);
}

TEST_F(UsbDuties, StopDuringTheLogExportEndsThemAll) {
  board.makeStickFolder("KVLOG");
  board.makeStickFolder("KVBAK");
  std::string driveName;

  runStickDuties(driveName, [](long milliseconds) { return milliseconds == 1500; });

  EXPECT_FALSE(contains(fake::commands(), kBackup));
  EXPECT_FALSE(contains(fake::commands(), kRestart));
}

// The maintenance task's cycle around the duties: no carrier file, so that the link is down.
class UsbCycle : public UsbDuties {
 protected:
  UsbCycle() {
    shared::netIfName = "none0";
    shared::carrierFilePath = "/sys/class/net/none0/carrier";
  }

  // Runs the task until `event` has happened.
  void runUntil(const std::string& event) {
    board.onEvent([this, event](const std::string& happened) {
      if (happened == event) {
        task.cancel();
      }
    });
    task.runTask();
  }

  SemaphoreSet networkDown{"TORVA_G_IPC_SEM_NETW_DN"};
  MainTask task;
};

TEST_F(UsbCycle, StickIsServedBeforeTheLinkIsJudged) {
  board.makeStickFolder("KVBAK");

  runUntil("wait 6000");

  const Events events = fake::events();
  EXPECT_EQ(Events(events.begin(), events.begin() + 3), (Events{"wait 3000", "wait 5000", "wait 3000"}));
  EXPECT_EQ(Events(events.end() - 3, events.end()), (Events{"run " + kBackup, "run " + kRestart, "wait 6000"}));
  EXPECT_EQ(networkDown.value(), 1);
}

TEST_F(UsbCycle, FailureOfTheDutiesIsReportedAndTheLinkIsJudgedInTheSameCycle) {
  board.makeStickFolder("KVCFG/0.0.0");
  board.writeStick("KVCFG/0.0.0/KVFILE_XFER_INSTRU.spt", "[new_local_dist_task]\nfileList = a#0#absent.zip\n");

  runUntil("wait 6000");

  const std::string source = board.at("/data/home/sda1/KVCFG/0.0.0/absent.zip");
  EXPECT_TRUE(
      errors.text().ends_with(" Copying [1 of 1]: absent.zip..."
                              "\nMainTask: Exception Met!"
                              "\nException Message:File not found: " +
                              source + ": No such file or directory"))
      << errors.text();
  EXPECT_EQ(networkDown.value(), 1);
}

TEST_F(UsbCycle, StopRequestDuringAWaitEndsTheDuties) {
  board.makeStickFolder("KVBAK");

  runUntil("wait 5000");

  EXPECT_FALSE(contains(fake::commands(), "sudo mount -t vfat /dev/sda1 -w /data/home/sda1"));
}

}  // namespace
}  // namespace quendal
