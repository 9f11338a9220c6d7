#include "multicast/mc_socket.h"

#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/multicast_scene.h"
#include "support/socket_faults.h"

#include <Poco/Net/SocketAddress.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <filesystem>
#include <iterator>
#include <string>

namespace quendal {
namespace {

using Poco::Net::SocketAddress;

class McSocket : public testing::Test {
 protected:
  static std::ptrdiff_t openDescriptors() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  }

  static bool sendsByLoopback() {
    in_addr interface {};
    socklen_t length = sizeof interface;
    EXPECT_EQ(getsockopt(shared::mcSocket.impl()->sockfd(), IPPROTO_IP, IP_MULTICAST_IF, &interface, &length), 0);
    return ntohl(interface.s_addr) == INADDR_LOOPBACK;
  }

  bool hearsTheGroup() {
    scene.sendToGroup("hello");
    std::array<char, 100> bytes{};
    try {
      return shared::mcSocket.receiveBytes(bytes.data(), static_cast<int>(bytes.size())) == 5;
    } catch (const Poco::TimeoutException&) {
      return false;
    }
  }

  static void cutOff() {
    shared::currentInterface = Poco::Net::NetworkInterface(Poco::Net::NetworkInterface::NO_INDEX);
  }

  MulticastScene scene;
  ErrorStreamCapture capture;
};

TEST_F(McSocket, OpensWithItsTimeToLiveAndTimeoutsAndSaysSo) {
  shared::mcTtl = 7;

  EXPECT_EQ(openMulticastSocket(), McSocketState::kSettled);

  EXPECT_EQ(capture.text(), "\nmttl:7\nmcRxTimeout:1\nmcTxTimeout:1");
  EXPECT_EQ(shared::mcSocket.getTimeToLive(), 7U);
  EXPECT_EQ(shared::mcSocket.address(), *shared::mcBindAddress);
}

TEST_F(McSocket, SendsByTheInterfaceThatItJoinedOn) {
  ASSERT_EQ(openMulticastSocket(), McSocketState::kSettled);

  EXPECT_TRUE(sendsByLoopback());
}

TEST_F(McSocket, HearsTheGroup) {
  ASSERT_EQ(openMulticastSocket(), McSocketState::kSettled);

  EXPECT_TRUE(hearsTheGroup());
}

TEST_F(McSocket, AddressThatCannotBeBoundIsOneReport) {
  shared::mcBindAddress = new SocketAddress("198.51.100.1", 50100);

  EXPECT_EQ(openMulticastSocket(), McSocketState::kClosed);

  EXPECT_EQ(capture.text(),
            "\nMcTask: Exception Met!\nException Message:Net Exception: Cannot assign requested address: "
            "198.51.100.1:50100");
}

TEST_F(McSocket, InterfaceWithoutAnAddressIsOneReportBehindTheTimeouts) {
  cutOff();

  EXPECT_EQ(openMulticastSocket(), McSocketState::kUnsettled);

  EXPECT_EQ(capture.text(),
            "\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1"
            "\nMcTask: Exception Met!\nException Message:Not found: IPv4 family address not found.");
}

TEST_F(McSocket, AddressThatIsNoGroupIsOneReport) {
  shared::mcBindAddress = new SocketAddress("127.0.0.1", shared::mcPort);

  EXPECT_EQ(openMulticastSocket(), McSocketState::kUnsettled);

  EXPECT_TRUE(capture.text().starts_with("\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1\nMcTask: Exception Met!\n"));
}

TEST_F(McSocket, MayBeClosedAgainAndAgainAlsoBeforeItWasOpened) {
  closeMulticastSocket();
  openMulticastSocket();
  closeMulticastSocket();
  closeMulticastSocket();

  EXPECT_EQ(openMulticastSocket(), McSocketState::kSettled);
}

TEST_F(McSocket, ThousandRelaunchesLeakNoDescriptor) {
  ASSERT_EQ(openMulticastSocket(), McSocketState::kSettled);
  const std::ptrdiff_t before = openDescriptors();

  for (int relaunch = 0; relaunch < 1000; ++relaunch) {
    closeMulticastSocket();
    ASSERT_EQ(openMulticastSocket(), McSocketState::kSettled) << relaunch;
  }

  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(McSocket, ThousandFailedOpeningsLeakNoDescriptor) {
  shared::mcBindAddress = new SocketAddress("198.51.100.1", 50100);
  const std::ptrdiff_t before = openDescriptors();

  for (int relaunch = 0; relaunch < 1000; ++relaunch) {
    ASSERT_EQ(openMulticastSocket(), McSocketState::kClosed) << relaunch;
    closeMulticastSocket();
  }

  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(McSocket, WithoutItsGroupItSendsByTheInterfaceAllTheSame) {
  shared::mcBindAddress = new SocketAddress("127.0.0.1", shared::mcPort);

  ASSERT_EQ(openMulticastSocket(), McSocketState::kUnsettled);

  EXPECT_TRUE(sendsByLoopback());
}

TEST_F(McSocket, IsSettledInSilenceOnceThatIsPossible) {
  const Poco::Net::NetworkInterface loopback = shared::currentInterface;
  cutOff();
  ASSERT_EQ(openMulticastSocket(), McSocketState::kUnsettled);
  const std::string before = capture.text();

  EXPECT_FALSE(settleMulticastSocket());
  shared::currentInterface = loopback;
  EXPECT_TRUE(settleMulticastSocket());

  EXPECT_EQ(capture.text(), before);
  EXPECT_TRUE(hearsTheGroup());
}

// Whichever call fails: one report at most, behind what has always been said up to there, and a way back.
TEST_F(McSocket, RecoversFromAFaultInAnyOfItsSystemCalls) {
  int calls = 0;
  for (bool isHit = true; isHit; ++calls) {
    const ErrorStreamCapture said;
    faults::failSocketCall(calls + 1);

    const McSocketState opened = openMulticastSocket();

    isHit = faults::hasFailed();
    faults::failSocketCall(0);
    const std::string good = "\nmttl:1\nmcRxTimeout:1\nmcTxTimeout:1";
    const std::string text = said.text();
    EXPECT_TRUE(good.starts_with(text.substr(0, text.find("\nMcTask")))) << calls << text;
    EXPECT_EQ(text.find("\nMcTask: Exception Met!\nException Message:"), text.rfind("\nMcTask")) << calls << text;
    EXPECT_TRUE(opened == McSocketState::kSettled || text != good) << calls;
    if (opened == McSocketState::kClosed) {
      closeMulticastSocket();
      EXPECT_EQ(openMulticastSocket(), McSocketState::kSettled) << calls;
    } else if (opened == McSocketState::kUnsettled) {
      EXPECT_TRUE(settleMulticastSocket()) << calls;
    }
    EXPECT_TRUE(hearsTheGroup()) << calls;
    EXPECT_TRUE(sendsByLoopback()) << calls;
    closeMulticastSocket();
  }
  EXPECT_GT(calls, 11);
}

}  // namespace
}  // namespace quendal
