// The duties for the technician's stick, once per maintenance cycle.
#pragma once

#include "maintenance/stick/stoppable_wait.h"

#include <string>

namespace quendal {

/// Serves a stick that has just been plugged: log export and read-back of packages, backup, import of
/// the configuration. In every other cycle it only looks whether a stick came or went.
///
/// `driveName` is kept between the cycles for it. Throws Poco::Exception when a stick cannot be served
/// as it asks; the rest of its duties is left out then. A stop request during a wait ends the duties,
/// unless the display application has been told of files that come: then they still come, without
/// waits. Runs on MainTask's thread.
void runStickDuties(std::string& driveName, const StoppableWait& wait);

}  // namespace quendal
