#include "maintenance/stick/export.h"

#include "maintenance/stick/stick_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/stick_board.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

const std::string kMountPoint = "/data/home/sda1";

// Two lines that no shell accepts; they are run all the same.
const std::string kKeepApplicationLog =
    "run sudo if [ -f /data/app/Log/zeloApp-`date +%w`.log ]; then cp /data/app/Log/zeloApp-`date +%w`.log "
    "/data/app/Log/R5app-`date +%Y%m%d%H%M`.bak; fi";
const std::string kKeepKernelLog =
    "run sudo if [ -f /data/app/Log/zeloKernMsg-`date +%w`.log ]; then cp /data/app/Log/zeloKernMsg-`date +%w`.log "
    "/data/app/Log/zeloKernMsg-`date +%Y%m%d%H%M`.bak; fi";

const Events kLogExport = {
    "run sudo echo thermal@`date`: `cat /sys/class/thermal/thermal_zone0/temp` >> /data/app/kavenor/LogReset.dat",
    kKeepApplicationLog,
    kKeepKernelLog,
    "sleep 1500",
    "run sudo cp /tmp/Tivrane_LogSession.log /data/app/Log/zeloApp-`date +%w`.log",
    "run sudo cat /var/log/messages > /data/app/Log/zeloKernMsg-`date +%w`.log",
    "run sudo cp /data/app/kavenor/LogReset.dat /data/app/Log/LogReset.dat.bak",
    "run [/data/app] sudo tar zcf zelo-curLogs.tar.gz Log ",
    "run sudo mv /data/app/*.gz /data/home/sda1/KVLOG/",
    "run sudo sync",
    "run sudo umount /data/home/sda1",
};

class StickExport : public testing::Test {
 protected:
  void makeOnStick(const std::string& name) const { board.makeFolder(kMountPoint + "/" + name); }

  // Something on the mount point that keeps the read-back quiet.
  void preventReadBack() const { makeOnStick("KVCFG"); }

  StickBoard board;
};

TEST_F(StickExport, WithoutFoldersNothingIsExported) {
  EXPECT_EQ(exportLogs(kMountPoint, recordedWait), ExportResult::kNothingDone);
  EXPECT_EQ(exportBackup(kMountPoint), ExportResult::kNothingDone);

  EXPECT_EQ(fake::events(), Events());
}

TEST_F(StickExport, FileOfTheFoldersNameAsksForNothing) {
  board.write(kMountPoint + "/KVLOG", "a file");
  board.write(kMountPoint + "/KVBAK", "a file");

  EXPECT_EQ(exportLogs(kMountPoint, recordedWait), ExportResult::kNothingDone);
  EXPECT_EQ(exportBackup(kMountPoint), ExportResult::kNothingDone);
}

TEST_F(StickExport, LogsArePackedMovedAndTheStickReleased) {
  makeOnStick("KVLOG");
  preventReadBack();
  const ErrorStreamCapture errors;

  EXPECT_EQ(exportLogs(kMountPoint, recordedWait), ExportResult::kDone);

  EXPECT_EQ(fake::events(), kLogExport);
  EXPECT_EQ(errors.text(), "");
}

// The copies on the board itself have a minute; what depends on the stick or on the amount has as long as it gets on.
TEST_F(StickExport, PackingMovingAndReleasingMayTakeTheirTime) {
  makeOnStick("KVLOG");
  makeOnStick("KVBAK");
  preventReadBack();

  exportLogs(kMountPoint, recordedWait);
  exportBackup(kMountPoint);

  EXPECT_EQ(fake::patientCommands(),
            (std::set<std::string>{"[/data/app] sudo tar zcf zelo-curLogs.tar.gz Log ",
                                   "sudo mv /data/app/*.gz /data/home/sda1/KVLOG/", "sudo sync",
                                   "sudo umount /data/home/sda1", "sudo cp -a /data/app /data/home/sda1/KVBAK/"}));
}

TEST_F(StickExport, MissingLogFolderIsCreated) {
  makeOnStick("KVLOG");
  preventReadBack();
  std::filesystem::remove(board.at("/data/app/Log"));
  const ErrorStreamCapture errors;

  exportLogs(kMountPoint, recordedWait);

  EXPECT_TRUE(board.exists("/data/app/Log"));
  EXPECT_EQ(errors.text(), "\nLog dir does not exist;creating...done!");
}

TEST_F(StickExport, LogFolderThatCannotBeCreatedEndsTheExport) {
  makeOnStick("KVLOG");
  std::filesystem::remove(board.at("/data/app/Log"));
  std::filesystem::create_symlink("/proc/self/no/such/folder", board.at("/data/app/Log"));

  EXPECT_THROW(exportLogs(kMountPoint, recordedWait), Poco::Exception);

  EXPECT_EQ(fake::events(), Events());
}

TEST_F(StickExport, StatusOfTheCommandsIsNotLookedAt) {
  makeOnStick("KVLOG");
  preventReadBack();
  fake::setShellStatus(-1);

  EXPECT_EQ(exportLogs(kMountPoint, recordedWait), ExportResult::kDone);

  EXPECT_EQ(fake::events(), kLogExport);
}

TEST_F(StickExport, StopDuringTheLogPauseEndsTheExport) {
  makeOnStick("KVLOG");

  EXPECT_EQ(exportLogs(kMountPoint,
                       [](long milliseconds) {
                         recordedWait(milliseconds);
                         return true;
                       }),
            ExportResult::kStopped);

  EXPECT_EQ(fake::events(), Events(kLogExport.begin(), kLogExport.begin() + 4));
}

TEST_F(StickExport, RawDataIsCopiedInsteadOfTheLogs) {
  makeOnStick("KVLOG");
  shared::logDataMode = true;

  EXPECT_EQ(exportLogs(kMountPoint, recordedWait), ExportResult::kDone);

  EXPECT_EQ(fake::events(), Events{"run sudo cp /data/app/log/RawData*.* /data/home/sda1/KVLOG"});
}

TEST_F(StickExport, BackupCopiesTheWholeApplication) {
  makeOnStick("KVBAK");

  EXPECT_EQ(exportBackup(kMountPoint), ExportResult::kDone);

  EXPECT_EQ(fake::events(), Events{"run sudo cp -a /data/app /data/home/sda1/KVBAK/"});
}

TEST_F(StickExport, LogDataModeIsOnExactlyForTheValueOne) {
  struct Case {
    const char* content;
    bool mode;
  };
  const std::vector<Case> cases = {{"LOGDATA=1\n", true},     {"LOGDATA = 0\n", false}, {"LOGDATA = 1\n", true},
                                   {"LOGDATA = 11\n", false}, {"logdata=1\n", true},    {"LOGDATA = true\n", false},
                                   {"LOGDATA = 01\n", false}};

  for (const Case& each : cases) {
    board.write("/data/app/kavenor/Work/Marlox.ini", each.content);
    readLogDataMode();
    EXPECT_EQ(shared::logDataMode.load(), each.mode) << each.content;
  }
}

TEST_F(StickExport, MissingFileOrKeyLeavesTheLogDataMode) {
  for (const bool before : {true, false}) {
    shared::logDataMode = before;
    std::filesystem::remove(board.at("/data/app/kavenor/Work/Marlox.ini"));
    readLogDataMode();
    EXPECT_EQ(shared::logDataMode.load(), before);

    board.write("/data/app/kavenor/Work/Marlox.ini", "[Section]\nLOGDATA = 1\n");
    readLogDataMode();
    EXPECT_EQ(shared::logDataMode.load(), before);
  }
}

TEST_F(StickExport, WhatIsNoPlainFileIsAsGoodAsMissing) {
  shared::logDataMode = true;
  board.makeFolder("/data/app/kavenor/Work/Marlox.ini");

  readLogDataMode();

  EXPECT_TRUE(shared::logDataMode);
}

}  // namespace
}  // namespace quendal
