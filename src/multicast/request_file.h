// The ini file that an alive request may carry: where the transmitter's server is.
#pragma once

namespace quendal {

inline constexpr const char* kServerPortKey = "new_alive_cfgpc_info.TCPserverPort";
inline constexpr const char* kServerIpKey = "new_alive_cfgpc_info.TCPserverIP";

}  // namespace quendal
