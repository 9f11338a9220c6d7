#include "network/address_rules.h"

#include "support/hand_made_interface.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

using Poco::Net::IPAddress;

TEST(UsableAddress, IsIpv4AndNeitherLinkLocalNorUnsetNorLoopback) {
  const std::vector<std::pair<std::string, bool>> table = {
      {"192.168.1.20", true}, {"10.0.0.1", true},     {"8.8.8.8", true},
      {"169.253.1.1", true},  {"169.254.0.0", false}, {"169.254.255.255", false},
      {"169.255.0.1", true},  {"0.0.0.0", false},     {"127.0.0.1", false},
      {"127.0.0.2", true},    {"::1", false},         {"fe80::1", false},
      {"2001:db8::1", false}, {"::", false},          {"::ffff:10.0.0.1", false}};

  for (const auto& [address, usable] : table) {
    EXPECT_EQ(isUsableAddress(IPAddress(address)), usable) << address;
  }
}

TEST(Ipv4Text, IsTheDottedFormAndNothingElse) {
  const std::vector<std::pair<std::string, bool>> table = {{"192.168.0.10", true},
                                                           {"0.0.0.0", true},
                                                           {"255.255.255.255", true},
                                                           {"", false},
                                                           {"10.1", false},
                                                           {"256.1.1.1", false},
                                                           {"1.2.3.4.5", false},
                                                           {"1.2.3.4 ", false},
                                                           {" 1.2.3.4", false},
                                                           {"01.2.3.4", false},
                                                           {"0x1.2.3.4", false},
                                                           {"::1", false},
                                                           {"1.2.3.4;reboot", false},
                                                           {"1.2.3.4\nreboot", false},
                                                           {"$(reboot)", false},
                                                           {"localhost", false},
                                                           {std::string("1.2.3.4\0x", 9), false}};

  for (const auto& [text, plain] : table) {
    EXPECT_EQ(parseIpv4(text).has_value(), plain) << text;
  }
}

TEST(InterfaceName, HasOneToFifteenHarmlessCharacters) {
  const std::vector<std::pair<std::string, bool>> table = {{"eth0", true},
                                                           {"e", true},
                                                           {"enp0s31f6.100", true},
                                                           {"wlan_0-a:1", true},
                                                           {"abcdefghijklmno", true},
                                                           {"", false},
                                                           {"abcdefghijklmnop", false},
                                                           {"eth0 ", false},
                                                           {"eth0;reboot", false},
                                                           {"eth0|ls", false},
                                                           {"eth0\nls", false},
                                                           {"`ls`", false},
                                                           {"$(ls)", false},
                                                           {"eth0&", false},
                                                           {"eth/0", false},
                                                           {"eth\xC3\xA4", false},
                                                           {std::string("eth0\0", 5), false}};

  for (const auto& [name, harmless] : table) {
    EXPECT_EQ(isInterfaceName(name), harmless) << name;
  }
}

TEST(FirstAddress, IsTheOneAtIndexZero) {
  HandMadeInterface interface("eth0", {"10.0.0.1", "10.0.0.2"});

  EXPECT_EQ(firstAddressOf(interface), IPAddress("10.0.0.1"));
}

TEST(FirstAddress, OfARecordWithoutAddressesIsTheWildcard) {
  EXPECT_EQ(firstAddressOf(HandMadeInterface("eth0", {})), IPAddress("0.0.0.0"));
  EXPECT_EQ(firstAddressOf(Poco::Net::NetworkInterface()), IPAddress("0.0.0.0"));
}

}  // namespace
}  // namespace quendal
