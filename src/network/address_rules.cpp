#include "network/address_rules.h"

#include <Poco/Ascii.h>

#include <algorithm>
#include <cstddef>

namespace quendal {
namespace {

constexpr std::size_t kMaxInterfaceNameLength = 15;

bool isInterfaceNameLetter(char letter) {
  return Poco::Ascii::isAlphaNumeric(static_cast<unsigned char>(letter)) || letter == '.' || letter == '_' ||
         letter == '-' || letter == ':';
}

}  // namespace

bool isUsableAddress(const Poco::Net::IPAddress& address) {
  if (address.family() != Poco::Net::IPAddress::IPv4 || address.isLinkLocal()) {
    return false;
  }
  const std::string text = address.toString();
  return text != "0.0.0.0" && text != "127.0.0.1";
}

// Only the plain form comes back as it went in.
std::optional<Poco::Net::IPAddress> parseIpv4(const std::string& text) {
  Poco::Net::IPAddress address;
  if (!Poco::Net::IPAddress::tryParse(text, address) || address.family() != Poco::Net::IPAddress::IPv4 ||
      address.toString() != text) {
    return std::nullopt;
  }
  return address;
}

bool isInterfaceName(const std::string& text) {
  return !text.empty() && text.size() <= kMaxInterfaceNameLength &&
         std::all_of(text.begin(), text.end(), isInterfaceNameLetter);
}

Poco::Net::IPAddress firstAddressOf(const Poco::Net::NetworkInterface& interface) {
  return interface.addressList().empty() ? Poco::Net::IPAddress() : interface.address(0);
}

}  // namespace quendal
