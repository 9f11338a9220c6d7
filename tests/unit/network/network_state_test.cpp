#include "network/network_state.h"

#include <gtest/gtest.h>

namespace quendal {
namespace {

TEST(NetworkState, BeginsWithTheWiredInterfaceAndNoLink) {
  EXPECT_EQ(shared::netIfName, "eth0");
  EXPECT_EQ(shared::carrierFilePath, "/sys/class/net/eth0/carrier");
  EXPECT_EQ(shared::linkedIfName, "eth0");
  for (const Flag* flag : {&shared::staticIpMode, &shared::carrierUpSeen, &shared::linkUp, &shared::linkUpPrev}) {
    EXPECT_FALSE(*flag);
  }
  for (const std::string* text :
       {&shared::staticIp, &shared::staticNetmask, &shared::staticGateway, &shared::staticDns}) {
    EXPECT_EQ(*text, "");
  }
  EXPECT_EQ(shared::currentInterface.displayName(), "");
  EXPECT_EQ(shared::currentIpAddress.get().toString(), "0.0.0.0");
  EXPECT_EQ(shared::shellCmdBuf.size(), 128U);
}

TEST(NetworkState, AddressIsReplacedAsAWhole) {
  SharedIpAddress address;

  address.set(Poco::Net::IPAddress("fe80::1"));

  EXPECT_EQ(address.get().toString(), "fe80::1");
}

}  // namespace
}  // namespace quendal
