#include "network/sender_list.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <string>

namespace quendal {
namespace {

using Poco::Net::IPAddress;

TEST(SenderList, WithoutOneEverybodyIsAllowed) {
  EXPECT_TRUE(SenderList().allows(IPAddress("192.168.77.1")));
  EXPECT_TRUE(SenderList().allows(IPAddress("fe80::1")));
}

TEST(SenderList, AddressesAndNetworksAreAllowedAndNobodyElse) {
  const SenderList list = SenderList::parse("192.168.77.0/24, 10.1.2.3");

  for (const char* address : {"192.168.77.0", "192.168.77.1", "192.168.77.255", "10.1.2.3"}) {
    EXPECT_TRUE(list.allows(IPAddress(address))) << address;
  }
  for (const char* address : {"192.168.76.255", "192.168.78.0", "10.1.2.2", "10.1.2.4", "3.2.1.10", "0.0.0.0",
                              "fe80::1", "::ffff:10.1.2.3"}) {
    EXPECT_FALSE(list.allows(IPAddress(address))) << address;
  }
}

TEST(SenderList, BlanksAroundTheEntriesDoNotCount) {
  const SenderList list = SenderList::parse("\t10.0.0.1 ,  10.0.0.2\t");

  EXPECT_TRUE(list.allows(IPAddress("10.0.0.1")));
  EXPECT_TRUE(list.allows(IPAddress("10.0.0.2")));
}

// Each prefix length against the neighbours of its network's ends.
TEST(SenderList, EachPrefixLengthHasItsOwnEnds) {
  for (unsigned length = 1; length <= 32; ++length) {
    const std::string network = length < 32 ? "128.0.0.0/" : "128.0.0.255/";
    const SenderList list = SenderList::parse(network + std::to_string(length));
    const std::uint32_t first = length < 32 ? 0x80000000U : 0x800000FFU;
    const std::uint32_t last = first + static_cast<std::uint32_t>((1ULL << (32 - length)) - 1);
    const auto address = [](std::uint32_t number) {
      return IPAddress(std::to_string(number >> 24) + "." + std::to_string(number >> 16 & 255) + "." +
                       std::to_string(number >> 8 & 255) + "." + std::to_string(number & 255));
    };

    EXPECT_TRUE(list.allows(address(first))) << length;
    EXPECT_TRUE(list.allows(address(last))) << length;
    EXPECT_FALSE(list.allows(address(first - 1))) << length;
    EXPECT_FALSE(length > 1 && list.allows(address(last + 1))) << length;
  }
}

TEST(SenderList, PrefixOfNoLengthIsEverybodysIPv4Address) {
  const SenderList list = SenderList::parse("0.0.0.0/0");

  EXPECT_TRUE(list.allows(IPAddress("255.255.255.255")));
  EXPECT_FALSE(list.allows(IPAddress("fe80::1")));
}

TEST(SenderList, BadEntriesAreRefusedByName) {
  for (const char* text : {"",
                           " ",
                           ",",
                           "10.0.0.1,",
                           ",10.0.0.1",
                           "10.0.0.1,,10.0.0.2",
                           "10.0.0.1 10.0.0.2",
                           "10.1",
                           "010.0.0.1",
                           "host",
                           "fe80::1",
                           "10.0.0.0/33",
                           "10.0.0.0/",
                           "10.0.0.0/-1",
                           "10.0.0.0/+8",
                           "10.0.0.0/8x",
                           "10.0.0.0/ 8",
                           "10.0.0.0/008",
                           "10.0.0.0/4294967304",
                           "/8",
                           "10.0.0.0/8/8",
                           "10.1.2.3/8",
                           "10.0.0.1/31",
                           "0.0.0.1/0"}) {
    EXPECT_THROW(SenderList::parse(text), Poco::InvalidArgumentException) << "\"" << text << "\"";
  }
  try {
    SenderList::parse("10.0.0.1, 10.0.0.999");
    FAIL();
  } catch (const Poco::InvalidArgumentException& refused) {
    EXPECT_NE(refused.displayText().find("10.0.0.999"), std::string::npos) << refused.displayText();
  }
}

}  // namespace
}  // namespace quendal
