// The shell commands of the network set-up, composed from checked values. Pure.
#pragma once

#include <string>

namespace quendal {

/// A composed command, or the reason why it must not be run: a value that is no address or interface
/// name could carry a command of its own into the shell.
struct NetworkCommand {
  std::string text;     // the command; empty when refused
  std::string refusal;  // one line that names the bad value; empty when composed
};

/// "sudo ifconfig <interface> <address> netmask <mask> up"
NetworkCommand composeAddressCommand(const std::string& interface, const std::string& address, const std::string& mask);

/// "sudo route add default gw <gateway>"
NetworkCommand composeGatewayCommand(const std::string& gateway);

/// "sudo ifconfig <interface> up"
NetworkCommand composeInterfaceUpCommand(const std::string& interface);

/// "sudo dhcpcd -d <interface>  -t 30 -L": in the foreground until there is a lease or 30 s have
/// passed, without a fallback to a link-local address.
NetworkCommand composeDhcpCommand(const std::string& interface);

}  // namespace quendal
