// Finds the wired interface that carries the service's traffic.
#pragma once

#include <Poco/Net/NetworkInterface.h>

#include <optional>
#include <string>

namespace quendal {

/// What the choice came to: the linked interface, or the fallback record with `found` false.
struct LinkedInterface {
  Poco::Net::NetworkInterface interface;
  bool found = false;
};

/// Picks from `list`, in its order, the first record named `name` that supports IPv4 and whose address 0
/// is a unicast address and no loopback address. A record that is passed over for its address becomes
/// the fallback if that address is an IPv4-mapped IPv6 loopback address, the last such one; otherwise
/// the fallback is an empty record. Pure. The list may hold an interface once for each of its addresses.
LinkedInterface chooseLinkedInterface(const Poco::Net::NetworkInterface::List& list, const std::string& name);

/// Chooses among the system's interfaces that are up and have an address, under the fixed name
/// `linkedIfName`, and writes what was found on the error stream. Throws what the listing throws.
Poco::Net::NetworkInterface findLinkedInterface();

/// The number that the kernel has for the interface `name` now, nothing when there is none of that name.
/// The kernel counts on: an interface that went and came back under its name has another one.
std::optional<unsigned> interfaceIndex(const std::string& name);

}  // namespace quendal
