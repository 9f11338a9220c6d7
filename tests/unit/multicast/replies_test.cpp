#include "multicast/replies.h"

#include "multicast/mc_socket.h"
#include "multicast/multicast_state.h"
#include "multicast/reply_packet.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/loopback.h"
#include "support/multicast_scene.h"
#include "support/packet_builder.h"
#include "support/reply_server.h"

#include <Poco/Exception.h>
#include <Poco/Net/MulticastSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Timespan.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

namespace quendal {
namespace {

using Poco::Net::SocketAddress;
using Poco::Net::StreamSocket;

class Replies : public testing::Test {
 protected:
  // A reply with a file of `size` bytes.
  void buildReply(std::size_t size) {
    buildAliveReply(LcdPacketRecord{}, {}, packet);
    packet.fileNameBuffer = {'n', 'a', 'm', 'e', '\0'};
    packet.filePath = scene.folder().writeFile("tmp/file", std::string(size, 'x'));
  }

  void sendByTcp() {
    StreamSocket socket(SocketAddress("127.0.0.1", server.port()));
    Send_mcLCDPacket_ByTCP(packet, socket);
    socket.close();
  }

  MulticastScene scene;
  ReplyServer server;
  LcdPacketRecord packet;
  ErrorStreamCapture capture;
};

TEST_F(Replies, HeartbeatReachesTheGroupAndItsPort) {
  shared::mcSocket.bind(*shared::mcBindAddress, true);
  shared::mcSocket.joinGroup(shared::mcBindAddress->host(), shared::currentInterface);
  shared::mcSocket.setInterface(shared::currentInterface);
  shared::mcSocket.setReceiveTimeout(Poco::Timespan(5, 0));
  buildHeartbeat(packet);

  Send_mcLCDpacket(packet);

  std::array<char, 100> received{};
  const int length = shared::mcSocket.receiveBytes(received.data(), static_cast<int>(received.size()));
  EXPECT_EQ(std::string(received.data(), static_cast<std::size_t>(length)), heartbeatPacket());
  EXPECT_EQ(capture.text(), "");
}

TEST_F(Replies, HeartbeatThatCannotLeaveIsReported) {
  shared::mcBindAddress = new SocketAddress("239.255.77.1", 0);
  buildHeartbeat(packet);

  Send_mcLCDpacket(packet);

  EXPECT_EQ(capture.text(),
            "\nSend_mcLCDpacket w/o file: Exception Met sending 2-elem mcast!\nException Message:Invalid argument");
}

TEST_F(Replies, ReplyByMulticastNeverLeavesAndSaysSo) {
  openMulticastSocket();
  buildReply(100);
  const std::string opened = capture.text();

  Send_mcLCDpacket(packet);

  EXPECT_EQ(capture.text().substr(opened.size()),
            "\nSend_mcLCDpacket w/o file: Exception Met sending 3-elem mcast!\nException Message:Invalid argument");
}

TEST_F(Replies, ReplyByTcpIsWrittenWhole) {
  buildReply(2500);

  sendByTcp();

  const std::string reply = server.takeReply();
  EXPECT_EQ(reply.size(), 20 + 16 + 14 + 4 + 2500U);
  EXPECT_TRUE(reply.starts_with(fromHex("14 00 00 00 5C C5 03 00")));
  EXPECT_TRUE(reply.ends_with("name" + fromHex("C4 09 00 00") + std::string(2500, 'x')));
  EXPECT_EQ(capture.text(), "");
}

TEST_F(Replies, HeartbeatByTcpHasTheSameBytes) {
  buildHeartbeat(packet);

  sendByTcp();

  EXPECT_EQ(server.takeReply(), heartbeatPacket());
}

TEST_F(Replies, OtherElementCountsSendNothingAndReportNothing) {
  for (const int count : {0, 1, 4, 255}) {
    buildHeartbeat(packet);
    packet.elementCount = static_cast<std::uint16_t>(count);

    Send_mcLCDpacket(packet);
    sendByTcp();

    EXPECT_EQ(server.takeReply(), "") << count;
    EXPECT_EQ(capture.text(), "") << count;
  }
}

TEST_F(Replies, MissingFileIsTheCallersBusiness) {
  buildReply(1);
  packet.filePath = scene.temporaryPath("missing");

  EXPECT_THROW(Send_mcLCDpacket(packet), Poco::FileException);
  EXPECT_THROW(sendByTcp(), Poco::FileException);
  EXPECT_EQ(capture.text(), "");
}

TEST_F(Replies, ReplyThatFillsTheSendBufferIsSent) {
  buildReply(4096 - 20 - 16 - 14 - 4);

  sendByTcp();

  EXPECT_EQ(server.takeReply().size(), 4096U);
}

TEST_F(Replies, ReplyBeyondTheSendBufferIsNotSentAndSaysWhy) {
  const std::string reason = "\nException Message:Out of range: a reply of 4097 bytes, at most 4096 fit";
  buildReply(4097 - 20 - 16 - 14 - 4);

  Send_mcLCDpacket(packet);
  EXPECT_EQ(capture.text(), "\nSend_mcLCDpacket w/o file: Exception Met sending 3-elem mcast!" + reason);

  const std::string before = capture.text();
  sendByTcp();
  EXPECT_EQ(server.takeReply(), "");
  EXPECT_EQ(capture.text().substr(before.size()),
            "\nSend_mcLCDPacket_ByTCP w/o file: Exception Met when sending 3-elem TCP!" + reason);
}

TEST_F(Replies, FailedSendByTcpIsReported) {
  StreamSocket socket(SocketAddress("127.0.0.1", server.port()));
  socket.shutdownSend();
  buildHeartbeat(packet);
  Send_mcLCDPacket_ByTCP(packet, socket);
  EXPECT_TRUE(capture.text().starts_with(
      "\nSend_mcLCDPacket_ByTCP w/o file: Exception Met when sending 2-elem TCP!\nException Message:"));

  const std::string before = capture.text();
  buildReply(1);
  Send_mcLCDPacket_ByTCP(packet, socket);
  EXPECT_TRUE(capture.text()
                  .substr(before.size())
                  .starts_with(
                      "\nSend_mcLCDPacket_ByTCP w/o file: Exception Met when sending 3-elem TCP!\nException Message:"));
}

}  // namespace
}  // namespace quendal
