// Reads the whole configuration at start-up into the shared state, and reports it on the console.
//
// docs/configuration.md lists the files and keys. All of this runs on the main thread before the first
// task is started; nothing is read again later.
#pragma once

namespace quendal {

/// Why the start-up ends the process.
inline constexpr int kExitNoConfiguration = 1;
inline constexpr int kExitBadStaticAddress = 1;
inline constexpr int kExitBadConfiguration = 101;

/// Creates the data directories, reads every configuration file, applies a static address and writes
/// the reports.
///
/// Returns 0, or the exit status with which the process has to end at once; its last words have then
/// been written. Throws Poco::Exception when a directory cannot be created. With a static address it
/// reconfigures the network and blocks for some seconds.
int loadStartupConfig();

}  // namespace quendal
