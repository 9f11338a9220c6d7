#include "multicast/reply_connection.h"

#include "network/network_state.h"
#include "support/fake_platform.h"
#include "support/loopback.h"
#include "support/no_threads.h"
#include "support/reply_server.h"

#include <Poco/Clock.h>
#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

using Poco::Timespan;
using Poco::Net::SocketAddress;
using Poco::Net::StreamSocket;

const Timespan kPatience(5, 0);
const Timespan kShort(0, 50000);

TEST(ReplyConnection, ReachesAnAddressAndAName) {
  for (const char* host : {"127.0.0.1", "localhost"}) {
    ReplyServer server;

    StreamSocket socket = connectForReply(host, server.port(), kPatience);
    socket.sendBytes("hello", 5);
    socket.close();

    EXPECT_EQ(server.takeReply(), "hello") << host;
  }
}

TEST(ReplyConnection, LimitsItsSendsAsWell) {
  const ReplyServer server;

  EXPECT_EQ(connectForReply("127.0.0.1", server.port(), kPatience).getSendTimeout(), kPatience);
}

TEST(ReplyConnection, PortWhereNobodyListensThrowsAtOnce) {
  const ReservedPort port;

  EXPECT_THROW(connectForReply("127.0.0.1", port.number(), kPatience), Poco::Exception);
}

TEST(ReplyConnection, WhatIsNoHostThrows) {
  const std::string tooLongForAName(300, 'x');  // so that no name server is asked
  for (const std::string& host : {std::string(), tooLongForAName}) {
    EXPECT_THROW(connectForReply(host, 1, kPatience), Poco::Exception) << host;
  }
}

TEST(ReplyConnection, NameThatNoThreadCanLookUpIsNoHost) {
  const ReplyServer server;
  const NoThreads noThreads;

  EXPECT_THROW(connectForReply("localhost", server.port(), kPatience), Poco::SystemException);
  EXPECT_NO_THROW(connectForReply("127.0.0.1", server.port(), kPatience)) << "an address needs none";
}

TEST(ReplyConnection, HostThatIsTheDisplayItselfIsNoServer) {
  const ReplyServer server;
  fake::setOwnAddress("127.0.0.1");

  EXPECT_THROW(connectForReply("127.0.0.1", server.port(), kPatience), Poco::InvalidAccessException);
  EXPECT_THROW(connectForReply("localhost", server.port(), kPatience), Poco::InvalidAccessException);
}

TEST(ReplyConnection, AddressOfNoSingleHostIsNoServer) {
  for (const char* host : {"0.0.0.0", "::", "255.255.255.255", "224.0.0.1", "239.255.77.1", "ff02::1",
                           "::ffff:127.0.0.1", "::ffff:10.0.0.1"}) {
    EXPECT_THROW(connectForReply(host, 1, kPatience), Poco::InvalidAccessException) << host;
  }
}

TEST(ReplyConnection, HostThatIsNoAllowedSenderIsNoServer) {
  const ReplyServer server;
  shared::allowedSenders = SenderList::parse("10.0.0.0/8");

  EXPECT_THROW(connectForReply("127.0.0.1", server.port(), kPatience), Poco::InvalidAccessException);
  EXPECT_THROW(connectForReply("localhost", server.port(), kPatience), Poco::InvalidAccessException);

  shared::allowedSenders = SenderList::parse("10.0.0.0/8, 127.0.0.1");
  EXPECT_NO_THROW(connectForReply("127.0.0.1", server.port(), kPatience));
}

// A listener whose backlog is full lets further connections hang, as a host that swallows packets does.
TEST(ReplyConnection, SilentServerIsGivenUpInTime) {
  Poco::Net::ServerSocket server;
  server.bind(SocketAddress("127.0.0.1", 0));
  server.listen(0);
  std::vector<StreamSocket> fillers(3);
  for (StreamSocket& filler : fillers) {
    filler.connectNB(server.address());
  }
  const Poco::Clock start;

  EXPECT_THROW(connectForReply("127.0.0.1", server.address().port(), kShort), Poco::TimeoutException);

  EXPECT_GE(start.elapsed(), kShort.totalMicroseconds() - 1000);  // the wait itself counts in milliseconds
  EXPECT_LT(start.elapsed(), kPatience.totalMicroseconds());
}

TEST(ReplyConnection, NothingIsTriedWithoutTime) {
  const ReplyServer server;

  EXPECT_THROW(connectForReply("127.0.0.1", server.port(), Timespan(0)), Poco::TimeoutException);
  EXPECT_THROW(connectForReply("localhost", server.port(), Timespan(0)), Poco::TimeoutException);
}

}  // namespace
}  // namespace quendal
