#include "network/interface_discovery.h"

#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/hand_made_interface.h"
#include "support/temporary_folder.h"

#include <Poco/Net/IPAddress.h>
#include <gtest/gtest.h>

namespace quendal {
namespace {

using Poco::Net::IPAddress;
using Poco::Net::NetworkInterface;

TEST(InterfaceChoice, TakesTheNamedInterfaceWithItsServiceAddress) {
  const NetworkInterface::List list = {HandMadeInterface("lo", {"127.0.0.1"}),
                                       HandMadeInterface("eth0", {"192.168.1.20"})};

  const LinkedInterface choice = chooseLinkedInterface(list, "eth0");

  EXPECT_TRUE(choice.found);
  EXPECT_EQ(choice.interface.displayName(), "eth0");
  EXPECT_EQ(choice.interface.address(0), IPAddress("192.168.1.20"));
}

TEST(InterfaceChoice, WithoutTheNamedInterfaceIsAnEmptyRecord) {
  for (const NetworkInterface::List& list :
       {NetworkInterface::List(), NetworkInterface::List{HandMadeInterface("lo", {"127.0.0.1"})}}) {
    const LinkedInterface choice = chooseLinkedInterface(list, "eth0");

    EXPECT_FALSE(choice.found);
    EXPECT_EQ(choice.interface.displayName(), "");
    EXPECT_EQ(choice.interface.index(), static_cast<unsigned>(NetworkInterface::NO_INDEX));
  }
}

TEST(InterfaceChoice, PassesOverAnotherWiredInterface) {
  const NetworkInterface::List list = {HandMadeInterface("eth1", {"192.168.1.21"})};

  EXPECT_FALSE(chooseLinkedInterface(list, "eth0").found);
}

TEST(InterfaceChoice, ComparesTheWholeNameWithItsCase) {
  const NetworkInterface::List list = {HandMadeInterface("eth0:1", {"10.0.0.1"}),
                                       HandMadeInterface("ETH0", {"10.0.0.2"}), HandMadeInterface("eth", {"10.0.0.3"})};

  EXPECT_FALSE(chooseLinkedInterface(list, "eth0").found);
}

TEST(InterfaceChoice, PassesOverTheNamedInterfaceWithoutAServiceAddress) {
  for (const char* address : {"127.0.0.1", "224.0.0.5", "fe80::1", "::1"}) {
    const NetworkInterface::List list = {HandMadeInterface("eth0", {address})};

    EXPECT_FALSE(chooseLinkedInterface(list, "eth0").found) << address;
  }
  EXPECT_FALSE(chooseLinkedInterface({HandMadeInterface("eth0", {})}, "eth0").found);
}

TEST(InterfaceChoice, OfRecordsForEachAddressTakesTheFirstThatServes) {
  const NetworkInterface::List list = {HandMadeInterface("eth0", {"fe80::1"}), HandMadeInterface("eth0", {"10.0.0.1"}),
                                       HandMadeInterface("eth0", {"10.0.0.2"})};

  EXPECT_EQ(chooseLinkedInterface(list, "eth0").interface.address(0), IPAddress("10.0.0.1"));
}

TEST(InterfaceChoice, LinkLocalAddressStillFindsTheInterface) {
  const NetworkInterface::List list = {HandMadeInterface("eth0", {"169.254.3.4"})};

  EXPECT_TRUE(chooseLinkedInterface(list, "eth0").found);
}

TEST(InterfaceChoice, OrdinaryLoopbackIsNoFallbackThoughTheLibraryCallsItMapped) {
  ASSERT_TRUE(IPAddress("127.0.0.1").isIPv4Mapped()) << "the library has changed: the family test may go";

  const NetworkInterface::List list = {HandMadeInterface("lo", {"127.0.0.1"})};

  EXPECT_EQ(chooseLinkedInterface(list, "eth0").interface.displayName(), "");
}

TEST(InterfaceChoice, LastMappedLoopbackIsTheFallback) {
  const NetworkInterface::List list = {
      HandMadeInterface("lo1", {"::ffff:127.0.0.1"}), HandMadeInterface("lo2", {"::ffff:127.0.0.1"}),
      HandMadeInterface("eth1", {"::ffff:10.0.0.1"}), HandMadeInterface("lo", {"::1"})};

  const LinkedInterface choice = chooseLinkedInterface(list, "eth0");

  EXPECT_FALSE(choice.found);
  EXPECT_EQ(choice.interface.displayName(), "lo2");
}

TEST(InterfaceSearch, SaysInOneLineWhatTheMachineHas) {
  const LinkedInterface expected = chooseLinkedInterface(NetworkInterface::list(true, true), "eth0");
  const ErrorStreamCapture capture;

  const NetworkInterface interface = findLinkedInterface();

  EXPECT_EQ(interface.displayName(), expected.interface.displayName());
  EXPECT_EQ(capture.text(), expected.found ? "\n Quendal_L info: found linked network intf:eth0"
                                           : "\nQuendal_L info: loopback to return:");
}

TEST(InterfaceSearch, ConfiguredInterfaceDoesNotChangeTheNameSought) {
  const LinkedInterface expected = chooseLinkedInterface(NetworkInterface::list(true, true), "eth0");
  const ErrorStreamCapture capture;
  shared::netIfName = "none0";

  EXPECT_EQ(findLinkedInterface().displayName(), expected.interface.displayName());
}

TEST(InterfaceIndex, IsTheKernelsNumberAndNothingForAnInterfaceThatIsNotThere) {
  EXPECT_EQ(interfaceIndex("lo"), NetworkInterface::forName("lo").index());
  EXPECT_EQ(interfaceIndex("nosuchlink0"), std::nullopt);
}

TEST(InterfaceIndex, FileThatHoldsNoNumberIsNothing) {
  const TemporaryFolder root;
  fake::setSystemRoot(root.path());
  for (const char* content : {"", "\n", "eth0\n"}) {
    root.writeFile("/sys/class/net/eth0/ifindex", content);

    EXPECT_EQ(interfaceIndex("eth0"), std::nullopt) << content;
  }
}

}  // namespace
}  // namespace quendal
