#include "maintenance/stick/duties.h"

#include "maintenance/stick/drive.h"
#include "maintenance/stick/export.h"
#include "maintenance/stick/import.h"
#include "maintenance/stick/mount.h"

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
