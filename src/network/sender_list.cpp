#include "network/sender_list.h"

#include "network/address_rules.h"

#include <Poco/ByteOrder.h>
#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/String.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace quendal {
namespace {

constexpr unsigned kAddressBits = 32;
constexpr std::size_t kMaxPrefixDigits = 2;

std::uint32_t numberOf(const Poco::Net::IPAddress& address) {
  std::uint32_t number = 0;
  std::memcpy(&number, address.addr(), sizeof number);
  return Poco::ByteOrder::fromNetwork(number);
}

std::optional<unsigned> parsePrefixLength(const std::string& text) {
  unsigned length = 0;
  if (text.empty() || text.size() > kMaxPrefixDigits || text.find_first_not_of("0123456789") != std::string::npos ||
      !Poco::NumberParser::tryParseUnsigned(text, length) || length > kAddressBits) {
    return std::nullopt;
  }
  return length;
}

std::uint32_t maskOf(unsigned prefixLength) {
  return prefixLength == 0 ? 0 : ~std::uint32_t{0} << (kAddressBits - prefixLength);
}

}  // namespace

SenderList::Network SenderList::parseEntry(const std::string& entry) {
  const std::string quoted = "'" + entry + "'";  // it may be empty
  const std::size_t slash = entry.find('/');
  const std::optional<Poco::Net::IPAddress> address = parseIpv4(entry.substr(0, slash));
  const std::optional<unsigned> length =
      slash == std::string::npos ? std::optional(kAddressBits) : parsePrefixLength(entry.substr(slash + 1));
  if (!address || !length) {
    throw Poco::InvalidArgumentException("neither an IPv4 address nor a network such as 192.168.77.0/24", quoted);
  }
  const Network network{.address = numberOf(*address), .mask = maskOf(*length)};
  if ((network.address & ~network.mask) != 0) {
    throw Poco::InvalidArgumentException("the network's address has bits set behind its prefix", quoted);
  }
  return network;
}

SenderList SenderList::parse(const std::string& text) {
  SenderList list;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    list.networks_.push_back(parseEntry(Poco::trim(text.substr(begin, end - begin))));
    begin = end + 1;
  }
  return list;
}

bool SenderList::allows(const Poco::Net::IPAddress& address) const {
  if (networks_.empty()) {
    return true;
  }
  if (address.family() != Poco::Net::IPAddress::IPv4) {
    return false;
  }
  const std::uint32_t number = numberOf(address);
  return std::any_of(networks_.begin(), networks_.end(),
                     [&](const Network& network) { return (number & network.mask) == network.address; });
}

}  // namespace quendal
