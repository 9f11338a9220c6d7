#include "multicast/mc_socket.h"

#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/multicast_scene.h"

#include <Poco/Net/SocketAddress.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>
#include <iterator>

namespace quendal {
namespace {

using Poco::Net::SocketAddress;

class McSocket : public testing::Test {
 protected:
  static std::ptrdiff_t openDescriptors() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  }

  MulticastScene scene;
  ErrorStreamCapture capture;
};

TEST_F(McSocket, OpensWithItsTimeToLiveAndTimeoutsAndSaysSo) {
  shared::mcTtl = 7;

  EXPECT_TRUE(openMulticastSocket());

  EXPECT_EQ(capture.text(), "\nmttl:7\nmcRxTimeout:1\nmcTxTimeout:1");
  EXPECT_EQ(shared::mcSocket.getTimeToLive(), 7U);
  EXPECT_EQ(shared::mcSocket.address(), *shared::mcBindAddress);
}

TEST_F(McSocket, SendsByTheInterfaceThatItJoinedOn) {
  ASSERT_TRUE(openMulticastSocket());

  in_addr interface {};
  socklen_t length = sizeof interface;
  ASSERT_EQ(getsockopt(shared::mcSocket.impl()->sockfd(), IPPROTO_IP, IP_MULTICAST_IF, &interface, &length), 0);
  EXPECT_EQ(ntohl(interface.s_addr), INADDR_LOOPBACK);
}

TEST_F(McSocket, HearsTheGroup) {
  ASSERT_TRUE(openMulticastSocket());
  scene.sendToGroup("hello");

  char bytes[100];
  EXPECT_EQ(shared::mcSocket.receiveBytes(bytes, sizeof bytes), 5);
}

TEST_F(McSocket, AddressThatCannotBeBoundIsOneReport) {
  shared::mcBindAddress = new SocketAddress("198.51.100.1", 50100);

  EXPECT_FALSE(openMulticastSocket());

  EXPECT_EQ(capture.text(),
            "\nMcTask: Exception Met!\nException Message:Net Exception: Cannot assign requested address: "
            "198.51.100.1:50100");
}

TEST_F(McSocket, InterfaceWithoutAnAddressIsOneReportBehindTheTimeouts) {
  shared::currentInterface = Poco::Net::NetworkInterface(Poco::Net::NetworkInterface::NO_INDEX);

  EXPECT_FALSE(openMulticastSocket());

  EXPECT_EQ(capture.text(),
            "\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1"
            "\nMcTask: Exception Met!\nException Message:Not found: IPv4 family address not found.");
}

TEST_F(McSocket, AddressThatIsNoGroupIsOneReport) {
  shared::mcBindAddress = new SocketAddress("127.0.0.1", shared::mcPort);

  EXPECT_FALSE(openMulticastSocket());

  EXPECT_TRUE(capture.text().starts_with("\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1\nMcTask: Exception Met!\n"));
}

TEST_F(McSocket, MayBeClosedAgainAndAgainAlsoBeforeItWasOpened) {
  closeMulticastSocket();
  openMulticastSocket();
  closeMulticastSocket();
  closeMulticastSocket();

  EXPECT_TRUE(openMulticastSocket());
}

TEST_F(McSocket, ThousandRelaunchesLeakNoDescriptor) {
  ASSERT_TRUE(openMulticastSocket());
  const std::ptrdiff_t before = openDescriptors();

  for (int relaunch = 0; relaunch < 1000; ++relaunch) {
    closeMulticastSocket();
    ASSERT_TRUE(openMulticastSocket()) << relaunch;
  }

  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(McSocket, ThousandFailedOpeningsLeakNoDescriptor) {
  shared::mcBindAddress = new SocketAddress("198.51.100.1", 50100);
  const std::ptrdiff_t before = openDescriptors();

  for (int relaunch = 0; relaunch < 1000; ++relaunch) {
    ASSERT_FALSE(openMulticastSocket()) << relaunch;
    closeMulticastSocket();
  }

  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace quendal
