#include "network/address_setup.h"

#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

using Events = std::vector<std::string>;

constexpr const char* kInterfaceUp = "run sudo ifconfig eth0 up";
constexpr const char* kAddress = "run sudo ifconfig eth0 192.168.0.10 netmask 255.255.255.0 up";
constexpr const char* kRoute = "run sudo route add default gw 192.168.0.1";
constexpr const char* kFlush = "run sudo ip addr flush dev eth0";

class AddressSetup : public testing::Test {
 protected:
  AddressSetup() {
    fake::setSystemRoot(root.path());
    setCarrier("1\n");
  }

  void setCarrier(const std::string& content) { root.writeFile("/sys/class/net/eth0/carrier", content); }

  void useStaticMode() {
    shared::staticIpMode = true;
    shared::staticIp = "192.168.0.10";
    shared::staticNetmask = "255.255.255.0";
    shared::staticGateway = "192.168.0.1";
  }

  TemporaryFolder root;
  ErrorStreamCapture capture;
};

TEST_F(AddressSetup, StaticAddressAndRouteAreAnnouncedAndRunTwoSecondsApart) {
  fake::setShellStatus(256);

  EXPECT_EQ(setStaticAddress("192.168.0.10", "255.255.255.0", "192.168.0.1"), 256);

  EXPECT_EQ(fake::events(), Events({kAddress, "sleep 2000", kRoute}));
  EXPECT_EQ(capture.text(),
            "\r\nCmd:sudo ifconfig eth0 192.168.0.10 netmask 255.255.255.0 up\r\n"
            "\r\nCmd:sudo route add default gw 192.168.0.1\r\n");
  EXPECT_STREQ(shared::shellCmdBuf.data(), "sudo route add default gw 192.168.0.1");
}

TEST_F(AddressSetup, EachCommandIsAnnouncedBeforeItRuns) {
  std::string announced;
  fake::onEvent([&](const std::string& event) {
    if (event == kAddress) {
      announced = capture.text();
    }
  });

  setStaticAddress("192.168.0.10", "255.255.255.0", "192.168.0.1");

  EXPECT_EQ(announced, "\r\nCmd:sudo ifconfig eth0 192.168.0.10 netmask 255.255.255.0 up\r\n");
}

TEST_F(AddressSetup, RefusedAddressDoesNotKeepTheRouteFromBeingSet) {
  EXPECT_EQ(setStaticAddress("10.0.0.1; reboot", "255.0.0.0", "192.168.0.1"), 0);

  EXPECT_EQ(fake::events(), Events({"sleep 2000", kRoute}));
  EXPECT_EQ(capture.text(),
            "\nCommand not run, bad IP address:[10.0.0.1; reboot]"
            "\r\nCmd:sudo route add default gw 192.168.0.1\r\n");
}

TEST_F(AddressSetup, RefusedRouteIsReportedAndGivesMinusOne) {
  EXPECT_EQ(setStaticAddress("192.168.0.10", "255.255.255.0", "`reboot`"), -1);

  EXPECT_EQ(fake::events(), Events({kAddress, "sleep 2000"}));
  EXPECT_EQ(capture.text(),
            "\r\nCmd:sudo ifconfig eth0 192.168.0.10 netmask 255.255.255.0 up\r\n"
            "\nCommand not run, bad default gateway:[`reboot`]");
}

TEST_F(AddressSetup, RefreshInStaticModeWaitsThreeSecondsAfterTheRoute) {
  useStaticMode();

  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({kInterfaceUp, kAddress, "sleep 2000", kRoute, "sleep 3000"}));
}

TEST_F(AddressSetup, RefreshRunsTheDhcpClientAndWritesItsStatusOnTheSameLine) {
  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({kInterfaceUp, "run sudo dhcpcd -d eth0  -t 30 -L"}));
  EXPECT_EQ(capture.text(), "dhcpcd up eth0 cmd rc code0");
}

TEST_F(AddressSetup, DhcpClientIsAnnouncedBeforeItRunsAndItsFailureIsOnlyWritten) {
  std::string announced;
  fake::onEvent([&](const std::string&) { announced = capture.text(); });
  fake::setShellStatus(256);

  refreshNetworkAddress();

  EXPECT_EQ(announced, "dhcpcd up eth0 cmd rc code");
  EXPECT_EQ(capture.text(), "dhcpcd up eth0 cmd rc code256");
}

TEST_F(AddressSetup, WithoutCarrierAndAddressOnlyTheInterfaceIsBroughtUp) {
  setCarrier("0\n");
  shared::linkUp = true;

  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({kInterfaceUp}));
  EXPECT_TRUE(shared::linkUp);
  EXPECT_EQ(capture.text(), "");
}

TEST_F(AddressSetup, LostCarrierFlushesTheAddressOnce) {
  setCarrier("0\n");
  shared::carrierUpSeen = true;
  shared::linkUp = true;

  refreshNetworkAddress();
  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({kInterfaceUp, kFlush, kInterfaceUp}));
  EXPECT_FALSE(shared::carrierUpSeen);
  EXPECT_FALSE(shared::linkUp);
}

TEST_F(AddressSetup, LostCarrierFlushesInStaticModeToo) {
  useStaticMode();
  setCarrier("0\n");
  shared::carrierUpSeen = true;

  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({kInterfaceUp, kFlush}));
}

TEST_F(AddressSetup, FlushUsesTheFixedInterfaceAndAllElseTheConfiguredOne) {
  shared::netIfName = "enp3s0";
  shared::carrierFilePath = "/sys/class/net/enp3s0/carrier";
  root.writeFile(shared::carrierFilePath, "0");
  shared::carrierUpSeen = true;
  refreshNetworkAddress();
  root.writeFile(shared::carrierFilePath, "1");
  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({"run sudo ifconfig enp3s0 up", kFlush, "run sudo ifconfig enp3s0 up",
                                    "run sudo dhcpcd -d enp3s0  -t 30 -L"}));
}

TEST_F(AddressSetup, CarrierFileThatIsNotThereCountsAsDown) {
  shared::carrierFilePath = "/sys/class/net/eth9/carrier";

  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events({kInterfaceUp}));
}

TEST_F(AddressSetup, BadInterfaceNameRunsNothingAndIsNamedEachTime) {
  shared::netIfName = "eth0; reboot";

  refreshNetworkAddress();

  EXPECT_EQ(fake::events(), Events());
  EXPECT_EQ(capture.text(),
            "\nCommand not run, bad interface name:[eth0; reboot]"
            "\nCommand not run, bad interface name:[eth0; reboot]");
}

}  // namespace
}  // namespace quendal
