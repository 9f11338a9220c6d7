#include "multicast/datagram.h"

#include "support/packet_builder.h"
#include "support/receive_buffer.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

namespace quendal {
namespace {

using namespace std::string_literals;

const std::string kFormatError = "\nError Network packet format detected,disconnecting...";

TEST(Datagram, AliveRequestIsUnpackedIntoEveryField) {
  const ReceiveBuffer buffer(
      fromHex("14 00 00 00 5C C5 02 00 01 00 00 00 02 00 00 00 E8 8E A5 A5"
              "10 00 00 00 01 00 01 01 01 00 03 00 02 00 01 00"));
  LcdPacketRecord record;

  const DatagramContent content = unpackDatagram(buffer.bytes, record);

  EXPECT_TRUE(content.fits);
  EXPECT_TRUE(content.isSigWordValid);
  EXPECT_TRUE(content.isStatusKindValid);
  EXPECT_FALSE(content.fileData);
  EXPECT_EQ(record.elementCount, 2);
  EXPECT_EQ(record.headerLength, 20U);
  EXPECT_EQ(text(std::span(record.rawHeader).first(20)), text(std::span(buffer.bytes).first(20)));
  EXPECT_EQ(record.requestWordA, 1U);
  EXPECT_EQ(record.requestWordB, 2U);
  EXPECT_EQ(record.sigWord, 0xA5A58EE8U);
  EXPECT_EQ(record.commandStatusLength, 16U);
  EXPECT_EQ(text(std::span(record.rawCommandStatus).first(16)), text(std::span(buffer.bytes).subspan(20, 16)));
  EXPECT_EQ(record.commandCode, kAliveRequest);
  EXPECT_EQ(datagramReport(content, record.sigWord), "");
}

TEST(Datagram, FileElementGivesNameAndData) {
  const ReceiveBuffer buffer(filePacket("server.ini", "[a]\nb=1\n"));
  LcdPacketRecord record;

  const DatagramContent content = unpackDatagram(buffer.bytes, record);

  EXPECT_TRUE(content.fits);
  ASSERT_TRUE(content.fileData);
  EXPECT_EQ(text(*content.fileData), "[a]\nb=1\n");
  EXPECT_EQ(record.fileName, "server.ini");
  EXPECT_STREQ(record.fileNameBuffer.data(), "server.ini");
  EXPECT_EQ(record.filePath, "");
}

TEST(Datagram, EmptyFileIsAFile) {
  LcdPacketRecord record;

  const DatagramContent content = unpackDatagram(ReceiveBuffer(filePacket("x", "")).bytes, record);

  EXPECT_TRUE(content.fits);
  ASSERT_TRUE(content.fileData);
  EXPECT_TRUE(content.fileData->empty());
}

TEST(Datagram, OnlyACountOfThreeCarriesAFile) {
  for (const int count : {2, 4, 255}) {
    const ReceiveBuffer buffer(headerElement(static_cast<std::uint8_t>(count)) + commandStatusElement() +
                               fileElement("name", "data"));
    LcdPacketRecord record;

    const DatagramContent content = unpackDatagram(buffer.bytes, record);

    EXPECT_TRUE(content.fits) << count;
    EXPECT_FALSE(content.fileData) << count;
    EXPECT_EQ(record.commandStatusLength, kPlainStatusSize) << count;
    EXPECT_EQ(record.fileName, "") << count;
  }
}

TEST(Datagram, CountsOfZeroAndOneLeaveTheCommandOfTheDatagramBefore) {
  for (const int count : {0, 1}) {
    LcdPacketRecord record;
    record.commandCode = kAliveRequest;
    record.commandStatusLength = 16;
    record.rawCommandStatus.fill(std::byte{7});

    const DatagramContent content =
        unpackDatagram(ReceiveBuffer(headerElement(static_cast<std::uint8_t>(count))).bytes, record);

    EXPECT_TRUE(content.fits) << count;
    EXPECT_EQ(record.elementCount, count);
    EXPECT_EQ(record.commandCode, kAliveRequest) << count;
    EXPECT_EQ(record.commandStatusLength, 16U) << count;
    EXPECT_EQ(record.rawCommandStatus[15], std::byte{7}) << count;
  }
}

TEST(Datagram, ShorterCommandStatusLeavesTheBytesOfALongerOneBehindIt) {
  LcdPacketRecord record;
  record.rawCommandStatus.fill(std::byte{7});

  unpackDatagram(ReceiveBuffer(headerElement(2) + commandStatusElement(1, 9)).bytes, record);

  EXPECT_EQ(record.commandStatusLength, 9U);
  EXPECT_EQ(record.rawCommandStatus[8], asBytes(commandStatusElement(1, 9))[8]);
  EXPECT_EQ(record.rawCommandStatus[9], std::byte{7});
}

TEST(Datagram, LongHeaderKeepsItsFieldsAtTheirOffsetsAndItsBytes) {
  LcdPacketRecord record;
  const std::string header = headerElement(2, 500);

  const DatagramContent content = unpackDatagram(ReceiveBuffer(header + commandStatusElement(2)).bytes, record);

  EXPECT_TRUE(content.fits);
  EXPECT_EQ(record.headerLength, 500U);
  EXPECT_EQ(text(std::span(record.rawHeader).first(500)), header);
  EXPECT_EQ(record.commandStatusLength, kPlainStatusSize);
}

TEST(Datagram, TruncatedOneIsCompletedByWhatTheBufferHolds) {
  const std::string whole = filePacket("name", "0123456789");
  const ReceiveBuffer buffer(whole.substr(0, whole.size() - 6), std::byte{'x'});
  LcdPacketRecord record;

  const DatagramContent content = unpackDatagram(buffer.bytes, record);

  EXPECT_TRUE(content.fits);
  ASSERT_TRUE(content.fileData);
  EXPECT_EQ(text(*content.fileData), "0123xxxxxx");
}

TEST(Datagram, WrongSignatureIsReportedWithItsRawBytesAndUnpackedAllTheSame) {
  ReceiveBuffer buffer(headerElement(2) + commandStatusElement());
  buffer.setU32(16, 0x0A410009);
  LcdPacketRecord record;

  const DatagramContent content = unpackDatagram(buffer.bytes, record);

  EXPECT_TRUE(content.fits);
  EXPECT_FALSE(content.isSigWordValid);
  EXPECT_EQ(record.commandStatusLength, kPlainStatusSize);
  EXPECT_EQ(datagramReport(content, record.sigWord),
            "\nsig Word Bytes:\t\t\0\tA\t\n\t"
            "\nError Network packet format detected::sigWord Code:172032009,disconnecting..."s);
}

TEST(Datagram, OtherStatusKindsThanOneAndTwoAreReportedAndHandledAllTheSame) {
  for (const int kind : {0, 1, 2, 3, 65535}) {
    LcdPacketRecord record;

    const DatagramContent content = unpackDatagram(
        ReceiveBuffer(headerElement(2) + commandStatusElement(static_cast<std::uint16_t>(kind))).bytes, record);

    const bool isValid = kind == 1 || kind == 2;
    EXPECT_TRUE(content.fits) << kind;
    EXPECT_EQ(content.isStatusKindValid, isValid) << kind;
    EXPECT_EQ(datagramReport(content, record.sigWord), isValid ? "" : kFormatError) << kind;
  }
}

}  // namespace
}  // namespace quendal
