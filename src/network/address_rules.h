// Which addresses the service can be reached at, and which values may stand in a network command.
#pragma once

#include <Poco/Net/IPAddress.h>
#include <Poco/Net/NetworkInterface.h>

#include <optional>
#include <string>

namespace quendal {

/// Can a transmitter reach the display at `address`? IPv4, not link-local, not 0.0.0.0, not 127.0.0.1.
bool isUsableAddress(const Poco::Net::IPAddress& address);

/// The IPv4 address that `text` is in its plain form: four decimal numbers without leading zeros and nothing
/// else. The library's own parser also takes "10.1", "0x0A.0.0.1", octal numbers and text behind the address.
std::optional<Poco::Net::IPAddress> parseIpv4(const std::string& text);

/// Is `text` an interface name that is safe in a command: 1 to 15 of letters, digits, '.', '_', '-', ':'?
bool isInterfaceName(const std::string& text);

/// The first address of `interface`; the IPv4 wildcard for a record without addresses (no such
/// interface, no lease yet), for which the library would throw.
Poco::Net::IPAddress firstAddressOf(const Poco::Net::NetworkInterface& interface);

}  // namespace quendal
