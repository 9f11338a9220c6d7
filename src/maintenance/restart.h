// The restart of the device after a technician's stick was served.
#pragma once

namespace quendal {

inline constexpr const char* kRestartCommand = "sudo systemctl reboot -i";

}  // namespace quendal
