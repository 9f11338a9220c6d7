#include "maintenance/stick/duties.h"

#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
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

class StickDuties : public testing::Test {
 protected:
  StickDuties() { board.plug({"sda", "sda1"}); }

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

TEST_F(StickDuties, StickWithoutFoldersIsOnlySearched) {
  EXPECT_EQ(serve(), Events());
  EXPECT_TRUE(errors.text().ends_with("\nKVCFG Not found on usb drive!"));
}

TEST_F(StickDuties, StickThatCouldNotBeMountedHasNoFolders) {
  board.makeStickFolder("KVBAK");
  board.refuseMounts();

  EXPECT_EQ(serve(), Events());
}

TEST_F(StickDuties, BackupEndsInARestart) {
  board.makeStickFolder("KVBAK");

  EXPECT_EQ(serve(), (Events{kBackup, kRestart}));
}

TEST_F(StickDuties, RawDataThenBackupThenRestart) {
  board.makeStickFolder("KVLOG");
  board.makeStickFolder("KVBAK");
  board.write("/data/app/kavenor/Work/Marlox.ini", "LOGDATA = 1\n");

  EXPECT_EQ(serve(), (Events{kRawData, kBackup, kRestart}));
}

TEST_F(StickDuties, ConfigurationPreventsTheRestartAfterABackup) {
  board.makeStickFolder("KVBAK");
  board.makeStickFolder("KVCFG/0.0.0");

  EXPECT_EQ(serve(), Events{kBackup});
  EXPECT_TRUE(errors.text().ends_with("\n CFGroot:/data/home/sda1/KVCFG/0.0.0/"));
}

TEST_F(StickDuties, AfterALogExportNothingElseOfTheStickIsSeenAndTwoRestartsAreAskedFor) {
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

TEST_F(StickDuties, LogExportWithAFileOnTheBareMountPointAsksForOneRestart) {
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

TEST_F(StickDuties, StickWithoutALogFolderGetsNoReadBack) {
  board.makeStickFolder("KVSOURCE");
  board.write("/data/app/kavenor/Work/Package_Hub.zip", "hub");

  EXPECT_EQ(serve(), Events());
}

TEST_F(StickDuties, StickThatStaysIsServedOnce) {
  board.makeStickFolder("KVBAK");
  std::string driveName;
  runStickDuties(driveName, recordedWait);
  const Events first = fake::commands();

  runStickDuties(driveName, recordedWait);

  EXPECT_EQ(fake::commands(), first);
}

TEST_F(StickDuties, StopDuringTheLogExportEndsThemAll) {
  board.makeStickFolder("KVLOG");
  board.makeStickFolder("KVBAK");
  std::string driveName;

  runStickDuties(driveName, [](long milliseconds) { return milliseconds == 1500; });

  EXPECT_FALSE(contains(fake::commands(), kBackup));
  EXPECT_FALSE(contains(fake::commands(), kRestart));
}

}  // namespace
}  // namespace quendal
