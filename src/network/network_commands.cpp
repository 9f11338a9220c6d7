#include "network/network_commands.h"

#include "network/address_rules.h"

namespace quendal {
namespace {

NetworkCommand refuse(const std::string& what, const std::string& value) {
  return {.text = {}, .refusal = "Command not run, bad " + what + ":[" + value + "]"};
}

}  // namespace

NetworkCommand composeAddressCommand(const std::string& interface, const std::string& address,
                                     const std::string& mask) {
  if (!isInterfaceName(interface)) {
    return refuse("interface name", interface);
  }
  if (!parseIpv4(address)) {
    return refuse("IP address", address);
  }
  if (!parseIpv4(mask)) {
    return refuse("network mask", mask);
  }
  return {.text = "sudo ifconfig " + interface + " " + address + " netmask " + mask + " up", .refusal = {}};
}

NetworkCommand composeGatewayCommand(const std::string& gateway) {
  if (!parseIpv4(gateway)) {
    return refuse("default gateway", gateway);
  }
  return {.text = "sudo route add default gw " + gateway, .refusal = {}};
}

NetworkCommand composeInterfaceUpCommand(const std::string& interface) {
  if (!isInterfaceName(interface)) {
    return refuse("interface name", interface);
  }
  return {.text = "sudo ifconfig " + interface + " up", .refusal = {}};
}

NetworkCommand composeDhcpCommand(const std::string& interface) {
  if (!isInterfaceName(interface)) {
    return refuse("interface name", interface);
  }
  return {.text = "sudo dhcpcd -d " + interface + "  -t 30 -L", .refusal = {}};
}

}  // namespace quendal
