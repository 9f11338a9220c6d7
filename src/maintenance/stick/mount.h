// The technician's stick comes and goes: noticed, mounted and released in the maintenance cycle.
#pragma once

#include "base/progress.h"
#include "maintenance/stick/stoppable_wait.h"

#include <string>

namespace quendal {

/// One cycle's look at the stick. `driveName` is remembered between the cycles; empty while no drive
/// is known.
///
/// Returns true when a stick has just been plugged and the mount command for `driveName` has run (the
/// result of the command is not looked at: a stick that could not be mounted has no folders).
/// A stick that stays is served once. One that was pulled is unmounted and its name forgotten. A stop
/// request before the stick is mounted, or while it is, leaves it alone and returns false.
bool mountNewStick(std::string& driveName, const StoppableWait& wait);

/// What tells that a command gets on with the stick that belongs at `mountPoint`.
Progress stickProgress(const std::string& mountPoint);

}  // namespace quendal
