// Distribution: the files that a configuration folder of the stick lists, into the target directory.
#pragma once

#include "maintenance/stick/stoppable_wait.h"

#include <string>

namespace quendal {

/// Checks the list file in `folder`, tells the display application, copies each listed file, leaves the
/// stop marker and tells the display application that the transfer is complete. Runs on MainTask's
/// thread.
///
/// Without a list file nothing happens. A bad entry, or a name that leads out of `folder` or of the
/// target directory, ends it before anything is told or copied. Throws Poco::Exception when the list
/// cannot be read, a file cannot be copied or the marker cannot be created; what was copied before
/// stays, the failed file does not. Once the display application was told, a stop request shortens the
/// waits and no more.
void distributeFiles(const std::string& folder, const StoppableWait& wait);

}  // namespace quendal
