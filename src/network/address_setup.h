// Gives the wired interface its address: the static one, or a lease from the DHCP client.
#pragma once

#include <string>

namespace quendal {

/// Applies a static address to `netIfName` (dotted IPv4 texts), waits 2 s and sets the default route.
/// Each command is announced on the error stream before it runs; the first one's failure does not keep
/// the second from running. A command with a bad value, or one that does not fit `shellCmdBuf`, is
/// named on the error stream and not run.
///
/// Returns the wait status of the route command, -1 when it was not run. Used by the start-up and on
/// MainTask's thread; blocks for 2 s and the commands' own time.
int setStaticAddress(const std::string& address, const std::string& mask, const std::string& gateway);

/// Brings `netIfName` up and, with a carrier, gives it its address again: the static one, or by running
/// the DHCP client in the foreground (30 s at most when no server answers). Without a carrier it
/// flushes the address of "eth0" once, if one had been configured, and clears `linkUp`.
///
/// Runs on MainTask's thread. No command's failure is reported: MainTask calls again while the link is
/// down.
void refreshNetworkAddress();

}  // namespace quendal
