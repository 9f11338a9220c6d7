// The shell commands that more than one folder runs.
#pragma once

namespace quendal {

/// Restarts the device, whatever inhibits it.
inline constexpr const char* kRestartCommand = "sudo systemctl reboot -i";

/// Runs "sudo sync", which writes everything out to the disks, before the power may go or the device restarts. It
/// takes as long as the disks need, and is ended when nothing is written out for 60 s.
void syncDisks();

}  // namespace quendal
