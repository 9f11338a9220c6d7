#include "maintenance/usb_duties.h"

#include "maintenance/usb_drive.h"
#include "maintenance/usb_export.h"
#include "maintenance/usb_import.h"
#include "maintenance/usb_mount.h"

namespace quendal {

void runStickDuties(std::string& driveName, const StoppableWait& wait) {
  if (!mountNewStick(driveName, wait)) {
    return;
  }
  const std::string mountPoint = mountPointOf(driveName);
  readLogDataMode();
  const ExportResult logs = exportLogs(mountPoint, wait);
  if (logs == ExportResult::kStopped) {
    return;
  }
  const ExportResult backup = exportBackup(mountPoint);
  const bool exportDone = logs == ExportResult::kDone || backup == ExportResult::kDone;
  importConfiguration(mountPoint, exportDone, wait);
}

}  // namespace quendal
