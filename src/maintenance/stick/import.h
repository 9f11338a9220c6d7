// Import: the stick's configuration folder that fits this display is chosen and distributed.
#pragma once

#include "maintenance/stick/stoppable_wait.h"

#include <string>

namespace quendal {

/// Looks for "KVCFG" on the stick at `mountPoint` and distributes the files of its best folder (see
/// distribution.h; throws as that does). Without "KVCFG" the device is restarted if `exportDone`.
void importConfiguration(const std::string& mountPoint, bool exportDone, const StoppableWait& wait);

}  // namespace quendal
