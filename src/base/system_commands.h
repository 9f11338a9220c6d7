// The shell commands that more than one folder runs.
#pragma once

namespace quendal {

/// Writes everything out to the disks, before the power may go or the device restarts.
inline constexpr const char* kSyncCommand = "sudo sync";

/// Restarts the device, whatever inhibits it.
inline constexpr const char* kRestartCommand = "sudo systemctl reboot -i";

}  // namespace quendal
