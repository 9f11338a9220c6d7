#include "maintenance/stick/mount.h"

#include "base/console.h"
#include "base/folders.h"
#include "base/platform.h"
#include "maintenance/stick/drive.h"
#include "maintenance/stick/stick_state.h"

#include <fstream>

namespace quendal {
namespace {

// The kernel registers the partitions some time after the drive.
constexpr long kSettleMs = 5000;
constexpr long kFurtherSettleMs = 3000;
constexpr long kMountMs = 3000;

constexpr const char* kBlockDevices = "/sys/class/block";
constexpr const char* kPartitions = "/proc/partitions";
constexpr int kPartitionsHeadLines = 2;

void releaseMount(const std::string& mountPoint) {
  platform::runShell(unmountCommand(mountPoint), stickProgress(mountPoint));
}

void releasePulledStick(std::string& driveName) {
  shared::usbDrivePresent = false;
  if (driveName.empty()) {
    return;
  }
  console::line("to umount drv:" + driveName);
  releaseMount(mountPointOf(driveName));
  driveName.clear();
}

void releaseStaleMount(const std::string& driveName) {
  console::line(driveFoundReport(driveName));
  releaseMount(mountPointOf(driveName));
}

// Reads one line with its line end, which belongs to the report; false at the end of the file.
bool readRawLine(std::istream& file, std::string& line) {
  if (!std::getline(file, line)) {
    return false;
  }
  if (!file.eof()) {
    line += '\n';
  }
  return true;
}

// Looks for a stick's partition and takes its name; without one the name stays as it is.
void findPartition(std::string& driveName) {
  std::ifstream file(platform::systemPath(kPartitions));
  std::string line;
  for (int head = 0; head < kPartitionsHeadLines; ++head) {
    std::getline(file, line);
  }
  while (readRawLine(file, line)) {
    const PartitionLine partition = parsePartitionLine(line);
    console::write(partitionReport(line, partition));
    if (isStickPartition(partition.name)) {
      driveName = partition.name;
      releaseStaleMount(driveName);
      return;
    }
  }
}

bool isStillMounted(const std::string& driveName) {
  return isFolder(platform::systemPath(mountPointOf(driveName) + "/KVCFG"));
}

void mountStick(const std::string& driveName) {
  console::line("usb thumbdrive first time plugged,mounting...");
  const Progress progress = stickProgress(mountPointOf(driveName));
  platform::runShell(makeMountPointCommand(driveName), progress);
  const std::string command = mountCommand(driveName);
  console::line("Mounting USB drive......\n>>" + command);
  platform::runShell(command, progress);
}

}  // namespace

Progress stickProgress(const std::string& mountPoint) {
  return driveProgress(mountPoint.substr(mountPoint.rfind('/') + 1));
}

bool mountNewStick(std::string& driveName, const StoppableWait& wait) {
  const std::string lastSdName = chooseDrive(folderEntries(platform::systemPath(kBlockDevices)));
  if (lastSdName.empty()) {
    releasePulledStick(driveName);
    return false;
  }
  driveName = lastSdName;
  if (shared::usbDrivePresent) {
    return false;
  }
  if (wait(kSettleMs) || wait(kFurtherSettleMs)) {
    return false;
  }

  findPartition(driveName);
  driveName = preferPartition(driveName, lastSdName);
  if (isStickDrive(driveName)) {
    releaseStaleMount(driveName);  // after a partition was found for the second time: it must surely be gone
    shared::usbDrivePresent = true;
  }
  // The drive counts as plugged by now: one that cannot be released is not tried again until it was pulled.
  if (isStillMounted(driveName)) {
    console::line("unmounting failures...CFG usb thumbdrive still plugged,pls remove...");
    return false;
  }
  mountStick(driveName);
  return !wait(kMountMs);
}

}  // namespace quendal
