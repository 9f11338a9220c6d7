#include "transfer/connection_acceptor.h"

#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/loopback.h"

#include <Poco/Net/SocketAddress.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <string>
#include <vector>

namespace quendal {
namespace {

using Poco::Net::ServerSocket;
using Poco::Net::StreamSocket;

constexpr rlim_t kReserve = 24;
const std::string kTooMany = "Too many connections, the newest is closed\n";

ServerSocket listenOnLoopback() {
  return ServerSocket(Poco::Net::SocketAddress("127.0.0.1", static_cast<Poco::UInt16>(0)), 8);
}

// The acceptor is called as the reactor would call it, on the test's own thread.
class Acceptor : public testing::Test {
 protected:
  Acceptor() { getrlimit(RLIMIT_NOFILE, &before); }
  ~Acceptor() override {
    setrlimit(RLIMIT_NOFILE, &before);
    reactor.close();
    reactor.run();  // only the shutdown, which deletes the handlers
  }

  StreamSocket connect() const { return StreamSocket(server.address()); }

  void accept() { acceptor.onConnection(); }

  void limitDescriptors(rlim_t count) const {
    const rlimit limit{count, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  }

  // The descriptor that the kernel would hand out next.
  static rlim_t nextDescriptor() {
    return static_cast<rlim_t>(StreamSocket(Poco::Net::IPAddress::IPv4).impl()->sockfd());
  }

  ErrorStreamCapture capture;
  ServerSocket server = listenOnLoopback();
  DataReactor reactor;
  ConnectionAcceptor acceptor{server, reactor};
  rlimit before{};
};

TEST_F(Acceptor, ConnectionFromElsewhereIsClosedWithAWarningAndGetsNoHandler) {
  shared::allowedSenders = SenderList::parse("10.0.0.0/8");
  StreamSocket refused = connect();

  accept();

  EXPECT_TRUE(isClosedByPeer(refused));
  EXPECT_TRUE(capture.text().ends_with("A connection from 127.0.0.1, which is no allowed sender, is closed\n"))
      << capture.text();
}

TEST_F(Acceptor, ConnectionFromAnAllowedSenderGetsItsHandler) {
  shared::allowedSenders = SenderList::parse("10.0.0.0/8, 127.0.0.1");
  const StreamSocket allowed = connect();

  accept();

  EXPECT_EQ(capture.text().find("no allowed sender"), std::string::npos) << capture.text();
}

TEST_F(Acceptor, GivesEachConnectionItsHandler) {
  const StreamSocket one = connect();
  const StreamSocket two = connect();

  accept();
  accept();

  EXPECT_EQ(capture.text(),
            "Connection from " + one.address().toString() + "\nConnection from " + two.address().toString() + "\n");
}

TEST_F(Acceptor, ConnectionThatWouldUseTheReserveIsClosedAtOnce) {
  StreamSocket connection = connect();
  limitDescriptors(nextDescriptor() + kReserve);

  accept();

  EXPECT_EQ(capture.text(), kTooMany);
  EXPECT_TRUE(isClosedByPeer(connection));
  EXPECT_EQ(fake::events(), std::vector<std::string>()) << "nothing waits for it";
}

TEST_F(Acceptor, LastConnectionBeforeTheReserveIsServed) {
  const StreamSocket connection = connect();
  limitDescriptors(nextDescriptor() + kReserve + 1);

  accept();

  EXPECT_EQ(capture.text(), "Connection from " + connection.address().toString() + "\n");
}

TEST_F(Acceptor, AcceptThatFailsIsReportedAndPaced) {
  const StreamSocket connection = connect();
  limitDescriptors(nextDescriptor());

  accept();
  accept();

  const std::string warning = "No connection can be accepted: I/O error: Too many open files\n";
  EXPECT_EQ(capture.text(), warning + warning);
  EXPECT_EQ(fake::events(), std::vector<std::string>({"sleep 100", "sleep 100"}));
}

TEST_F(Acceptor, ConnectionThatCouldNotBeAcceptedIsServedOnceDescriptorsAreFree) {
  const StreamSocket connection = connect();
  limitDescriptors(nextDescriptor());
  accept();
  setrlimit(RLIMIT_NOFILE, &before);

  accept();

  EXPECT_TRUE(capture.text().ends_with("\nConnection from " + connection.address().toString() + "\n"));
}

TEST_F(Acceptor, ConnectionThatWasResetBeforeItIsServedEndsNothing) {
  StreamSocket lost = connect();
  resetConnection(lost);
  const StreamSocket next = connect();

  accept();
  accept();

  const std::string text = capture.text();
  EXPECT_TRUE(text.starts_with("A connection was lost before it was served: ")) << text;
  EXPECT_TRUE(text.ends_with("\nConnection from " + next.address().toString() + "\n")) << text;
}

TEST(AcceptorEnd, LeavesTheReactor) {
  const ServerSocket server = listenOnLoopback();
  DataReactor reactor;
  {
    const ConnectionAcceptor acceptor(server, reactor);
    EXPECT_TRUE(reactor.has(server));
  }

  EXPECT_FALSE(reactor.has(server));
}

}  // namespace
}  // namespace quendal
