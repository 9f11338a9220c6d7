// Read-back: the packages that came over the network are handed to the technician.
#pragma once

#include <string>

namespace quendal {

/// Looks at `mountPoint` as it stands after the log export has released the stick. Where "KVCFG" is
/// visible nothing happens. Where there is no "KVSOURCE" it is created, if there is no file either.
/// Where there is one now, the packages are copied into it and the device is restarted.
///
/// Throws Poco::Exception when the folder cannot be created.
void readBackPackages(const std::string& mountPoint);

}  // namespace quendal
