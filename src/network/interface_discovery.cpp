#include "network/interface_discovery.h"

#include "base/console.h"
#include "base/platform.h"
#include "network/network_state.h"

#include <Poco/Net/IPAddress.h>

#include <fstream>

namespace quendal {

using Poco::Net::IPAddress;
using Poco::Net::NetworkInterface;

namespace {

constexpr int kMappedAddressOffset = 12;  // of the IPv4 address in a mapped IPv6 address
constexpr unsigned char kLoopbackNet = 127;

bool hasServiceAddress(const NetworkInterface& interface) {
  if (interface.addressList().empty() || !interface.supportsIPv4()) {
    return false;
  }
  const IPAddress& address = interface.address(0);
  return address.isUnicast() && !address.isLoopback();
}

// The family has to be asked for as well: the library calls every IPv4 address IPv4-mapped, and the
// ordinary loopback interface is not meant. Its loopback test in turn knows only ::1 among the IPv6
// addresses, so the mapped one is looked at here.
bool hasMappedLoopbackAddress(const NetworkInterface& interface) {
  if (interface.addressList().empty()) {
    return false;
  }
  const IPAddress& address = interface.address(0);
  if (address.family() != IPAddress::IPv6 || !address.isIPv4Mapped()) {
    return false;
  }
  const auto* bytes = static_cast<const unsigned char*>(address.addr());
  return bytes[kMappedAddressOffset] == kLoopbackNet;
}

}  // namespace

LinkedInterface chooseLinkedInterface(const NetworkInterface::List& list, const std::string& name) {
  LinkedInterface choice{NetworkInterface(NetworkInterface::NO_INDEX), false};
  for (const NetworkInterface& interface : list) {
    if (hasServiceAddress(interface)) {
      if (interface.displayName() == name) {
        return {interface, true};
      }
    } else if (hasMappedLoopbackAddress(interface)) {
      choice.interface = interface;
    }
  }
  return choice;
}

NetworkInterface findLinkedInterface() {
  const LinkedInterface choice = chooseLinkedInterface(NetworkInterface::list(true, true), shared::linkedIfName);
  const char* heading =
      choice.found ? " Quendal_L info: found linked network intf:" : "Quendal_L info: loopback to return:";
  console::line(heading + choice.interface.displayName());
  return choice.interface;
}

std::optional<unsigned> interfaceIndex(const std::string& name) {
  std::ifstream file(platform::systemPath("/sys/class/net/" + name + "/ifindex"));
  unsigned index = 0;
  return file >> index ? std::optional(index) : std::nullopt;
}

}  // namespace quendal
