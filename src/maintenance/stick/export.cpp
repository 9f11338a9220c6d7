#include "maintenance/stick/export.h"

#include "base/console.h"
#include "base/folders.h"
#include "base/ini_file.h"
#include "base/platform.h"
#include "base/system_commands.h"
#include "maintenance/stick/drive.h"
#include "maintenance/stick/mount.h"
#include "maintenance/stick/package_readback.h"
#include "maintenance/stick/stick_state.h"

#include <Poco/Exception.h>
#include <Poco/File.h>

#include <array>

namespace quendal {
namespace {

constexpr long kLogCopyMs = 1500;
constexpr const char* kLogFolder = "../../Log";  // relative to the working directory

// The log files rotate by weekday; last week's is kept under its minute. "sudo if" is no command: the
// shell refuses both lines whole, so that they do nothing. The redirections are the service's own
// shell's and not sudo's. All of that is what boards in the field have always run.
constexpr std::array kKeepOldLogs = {
    "sudo echo thermal@`date`: `cat /sys/class/thermal/thermal_zone0/temp` >> /data/app/kavenor/LogReset.dat",
    "sudo if [ -f /data/app/Log/zeloApp-`date +%w`.log ]; then cp /data/app/Log/zeloApp-`date +%w`.log "
    "/data/app/Log/R5app-`date +%Y%m%d%H%M`.bak; fi",
    "sudo if [ -f /data/app/Log/zeloKernMsg-`date +%w`.log ]; then cp /data/app/Log/zeloKernMsg-`date +%w`.log "
    "/data/app/Log/zeloKernMsg-`date +%Y%m%d%H%M`.bak; fi",
};
constexpr std::array kCollectLogs = {
    "sudo cp /tmp/Tivrane_LogSession.log /data/app/Log/zeloApp-`date +%w`.log",
    "sudo cat /var/log/messages > /data/app/Log/zeloKernMsg-`date +%w`.log",
    "sudo cp /data/app/kavenor/LogReset.dat /data/app/Log/LogReset.dat.bak",
};

void createLogFolder() {
  Poco::File folder(kLogFolder);
  if (!folder.exists()) {
    folder.createDirectory();
    console::line("Log dir does not exist;creating...done!");
  }
}

void moveLogsAndRelease(const std::string& mountPoint) {
  platform::runShellIn("/data/app", "sudo tar zcf zelo-curLogs.tar.gz Log ",
                       fileSizeProgress("/data/app/zelo-curLogs.tar.gz"));
  platform::runShell("sudo mv /data/app/*.gz " + mountPoint + "/KVLOG/", stickProgress(mountPoint));
  syncDisks();
  platform::runShell(unmountCommand(mountPoint), stickProgress(mountPoint));
}

}  // namespace

void readLogDataMode() {
  try {
    shared::logDataMode = loadIniFile("../Work/Marlox.ini")->getString("LOGDATA") == "1";
  } catch (const Poco::Exception&) {
    return;  // most boards have no such file
  }
}

ExportResult exportLogs(const std::string& mountPoint, const StoppableWait& wait) {
  const std::string logs = mountPoint + "/KVLOG";
  if (!isFolder(platform::systemPath(logs))) {
    return ExportResult::kNothingDone;
  }
  if (shared::logDataMode) {
    platform::runShell("sudo cp /data/app/log/RawData*.* " + logs, stickProgress(mountPoint));
    return ExportResult::kDone;
  }
  createLogFolder();
  for (const char* command : kKeepOldLogs) {
    platform::runShell(command);
  }
  if (wait(kLogCopyMs)) {
    return ExportResult::kStopped;
  }
  for (const char* command : kCollectLogs) {
    platform::runShell(command);
  }
  moveLogsAndRelease(mountPoint);
  readBackPackages(mountPoint);
  return ExportResult::kDone;
}

ExportResult exportBackup(const std::string& mountPoint) {
  const std::string backup = mountPoint + "/KVBAK";
  if (!isFolder(platform::systemPath(backup))) {
    return ExportResult::kNothingDone;
  }
  platform::runShell("sudo cp -a /data/app " + backup + "/", stickProgress(mountPoint));
  return ExportResult::kDone;
}

}  // namespace quendal
