// The process-wide variables of the technician's stick.
//
// base/shared_state.h says what keeps them safe.
#pragma once

#include "base/flags.h"

#include <string>

namespace quendal::shared {

extern std::string usbSourceListFile;  // written by the start-up, read by the distribution
extern Flag usbDrivePresent;           // MainTask
extern Flag logDataMode;               // raw data is exported and not the logs: MainTask

}  // namespace quendal::shared
