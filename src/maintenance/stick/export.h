// Export: logs, raw data or a backup of the application onto the stick, as its folders ask for.
#pragma once

#include "maintenance/stick/stoppable_wait.h"

#include <string>

namespace quendal {

enum class ExportResult {
  kNothingDone,
  kDone,
  kStopped,  // a stop was asked for on the way: the duties end
};

/// Reads which kind of export is asked for into shared::logDataMode; a file or key that is missing, or
/// cannot be read, leaves it.
void readLogDataMode();

/// Serves "KVLOG" on the stick at `mountPoint`: with shared::logDataMode raw data is copied there.
/// Without it the logs are packed and moved there and the stick is released at once; what follows sees
/// the bare mount point, beginning with the read-back of packages (see package_readback.h).
///
/// Throws Poco::Exception when the folder of the board's own logs, or one for the packages, is missing
/// and cannot be created.
ExportResult exportLogs(const std::string& mountPoint, const StoppableWait& wait);

/// Serves "KVBAK" on the stick at `mountPoint`: the whole application goes there.
ExportResult exportBackup(const std::string& mountPoint);

}  // namespace quendal
