#include "multicast/reply_packet.h"

#include "multicast/alive_descriptor.h"
#include "support/packet_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace quendal {
namespace {

// The bytes of `reply`; empty when it does not fit 4096.
std::string encoded(LcdPacketRecord& reply, const std::string& fileData = {}) {
  std::vector<std::byte> buffer(4096, std::byte{0xEE});
  const std::size_t size = encodeReply(reply, asBytes(fileData), buffer).value_or(0);
  std::string bytes(size, '\0');
  std::ranges::copy(std::span(buffer).first(size), std::as_writable_bytes(std::span(bytes)).begin());
  return bytes;
}

void setFileName(LcdPacketRecord& reply, const std::string& name) {
  std::ranges::copy(name, reply.fileNameBuffer.begin());
  reply.fileNameBuffer.at(name.size()) = '\0';
}

LcdPacketRecord requestWithWords() {
  LcdPacketRecord request;
  request.requestWordA = 0x04030201;
  request.requestWordB = 0x08070605;
  request.sigWord = kSigWord;
  return request;
}

TEST(Heartbeat, IsThese29Bytes) {
  LcdPacketRecord reply;

  buildHeartbeat(reply);

  EXPECT_EQ(encoded(reply), heartbeatPacket());
}

TEST(Heartbeat, HasTheSameBytesAfterAReply) {
  LcdPacketRecord reply;
  buildAliveReply(requestWithWords(), {.groupNo = 1, .columnNo = 2, .displayNo = 3}, reply);
  setFileName(reply, "name");
  encoded(reply, "data");

  buildHeartbeat(reply);

  EXPECT_EQ(encoded(reply), heartbeatPacket());
}

TEST(AliveReply, IsEveryByteAsItShouldBe) {
  LcdPacketRecord reply;

  buildAliveReply(requestWithWords(), {.groupNo = 0x0201, .columnNo = 0, .displayNo = 3}, reply);
  setFileName(reply, kAliveDescriptorName);

  EXPECT_EQ(encoded(reply, "ABC"), fromHex("14 00 00 00 5C C5 03 00 01 02 03 04 05 06 07 08 E8 8E A5 A5"
                                           "10 00 00 00 01 00 02 01 01 00 03 00 00 00 01 02"
                                           "22 00 00 00 03 00 00 00 11 00") +
                                       "KV_ALIVE_DESC.spt" + fromHex("03 00 00 00") + "ABC");
}

TEST(AliveReply, IsAsLongAsItsElements) {
  for (const std::size_t dataLength : {0U, 1U, 100U, 2000U}) {
    LcdPacketRecord reply;
    buildAliveReply(requestWithWords(), {}, reply);
    setFileName(reply, kAliveDescriptorName);

    EXPECT_EQ(encoded(reply, std::string(dataLength, 'x')).size(), 20 + 16 + 31 + dataLength);
    EXPECT_EQ(replySize(reply, dataLength), 20 + 16 + 31 + dataLength);
  }
}

TEST(AliveReply, CarriesAWrongSignatureBack) {
  LcdPacketRecord request = requestWithWords();
  request.sigWord = 0x12345678;
  LcdPacketRecord reply;

  buildAliveReply(request, {}, reply);

  EXPECT_EQ(encoded(reply).substr(16, 4), fromHex("78 56 34 12"));
}

TEST(ReplyEncoding, LeavesTheWireFormInTheRecord) {
  LcdPacketRecord reply;
  buildHeartbeat(reply);

  const std::string bytes = encoded(reply);

  EXPECT_TRUE(std::ranges::equal(std::span(reply.rawHeader).first(20), asBytes(bytes).first(20)));
  EXPECT_TRUE(std::ranges::equal(std::span(reply.rawCommandStatus).first(9), asBytes(bytes).subspan(20)));
}

TEST(ReplyEncoding, FillsTheBufferToTheLastByteAndNoFurther) {
  LcdPacketRecord reply;
  buildAliveReply(requestWithWords(), {}, reply);
  setFileName(reply, kAliveDescriptorName);
  constexpr std::size_t kLongest = 4096 - 20 - 16 - 31;

  EXPECT_EQ(encoded(reply, std::string(kLongest, 'x')).size(), 4096U);
  EXPECT_EQ(encoded(reply, std::string(kLongest + 1, 'x')), "");
}

TEST(ReplyEncoding, RefusesLengthsBeyondTheRecord) {
  LcdPacketRecord reply;
  buildHeartbeat(reply);
  reply.headerLength = kMaxHeaderLength + 1;
  EXPECT_EQ(encoded(reply), "");

  buildHeartbeat(reply);
  reply.commandStatusLength = kMaxCommandStatusLength + 1;
  EXPECT_EQ(encoded(reply), "");

  reply.headerLength = 0xFFFFFFFF;
  reply.commandStatusLength = 0xFFFFFFFF;
  EXPECT_EQ(encoded(reply), "");
}

TEST(ReplyEncoding, RoundTripsThroughTheDecoders) {
  LcdPacketRecord reply;
  buildAliveReply(requestWithWords(), {.groupNo = 7, .columnNo = 8, .displayNo = 9}, reply);
  const std::string bytes = encoded(reply);

  const LcdHeader header = decodeHeader(asBytes(bytes)).value();
  const CommandStatus status = decodeCommandStatus(asBytes(bytes).subspan(20)).value();
  const DisplayIdentity address = decodeDisplayIdentity(asBytes(bytes).subspan(20)).value();

  EXPECT_EQ(header.elementCount, 3);
  EXPECT_EQ(header.requestWordB, 0x08070605U);
  EXPECT_EQ(status.statusKind, 1);
  EXPECT_EQ(status.commandCode, kAliveReply);
  EXPECT_EQ(address.displayNo, 9);
  EXPECT_EQ(address.groupNo, 7);
}

}  // namespace
}  // namespace quendal
