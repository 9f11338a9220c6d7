// Lengths at the edges of the receive buffer.
#include "multicast/datagram.h"
#include "support/packet_builder.h"
#include "support/receive_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace quendal {
namespace {

const std::string kFormatError = "\nError Network packet format detected,disconnecting...";

constexpr std::size_t kCommandStatusAt = kHeaderSize;
constexpr std::size_t kFileElementAt = kHeaderSize + kPlainStatusSize;

TEST(Datagram, HeaderUpToTheWholeBufferFits) {
  for (const std::uint32_t length : {0U, 3U, 19U, 20U, 999U, 1000U, 1001U, 1026U, 1027U, 0x80000000U, 0xFFFFFFFFU}) {
    ReceiveBuffer buffer(headerElement(1));
    buffer.setU32(0, length);
    LcdPacketRecord record;

    const DatagramContent content = unpackDatagram(buffer.bytes, record);

    EXPECT_EQ(content.fits, length <= 1000) << length;
    EXPECT_EQ(datagramReport(content, record.sigWord), length <= 1000 ? "" : kFormatError) << length;
    EXPECT_EQ(record.headerLength, length <= 1000 ? length : 0) << length;
  }
}

TEST(Datagram, CommandStatusUpToTheEndOfTheBufferFits) {
  for (const std::uint32_t length : {0U, 7U, 8U, 979U, 980U, 981U, 1024U, 1025U, 0xFFFFFFECU, 0xFFFFFFFFU}) {
    ReceiveBuffer buffer(headerElement(2) + commandStatusElement());
    buffer.setU32(kCommandStatusAt, length);
    LcdPacketRecord record;

    const DatagramContent content = unpackDatagram(buffer.bytes, record);

    EXPECT_EQ(content.fits, length <= 980) << length;
    EXPECT_EQ(record.commandStatusLength, length <= 980 ? length : 0) << length;
  }
}

TEST(Datagram, CommandStatusThatBeginsTooCloseToTheEndDoesNotFit) {
  for (const std::uint32_t headerLength : {992U, 993U, 1000U}) {
    ReceiveBuffer buffer(headerElement(2));
    buffer.setU32(0, headerLength);
    LcdPacketRecord record;

    EXPECT_EQ(unpackDatagram(buffer.bytes, record).fits, headerLength <= 992) << headerLength;
  }
}

TEST(Datagram, FileNameUpToTheEndOfTheBufferFits) {
  constexpr std::size_t kLongest = 1000 - kFileElementAt - kFileElementOverhead;
  for (const std::size_t length : {std::size_t{0}, kLongest, kLongest + 1, std::size_t{1023}, std::size_t{65535}}) {
    const ReceiveBuffer buffer(headerElement(3) + commandStatusElement() +
                               fileElementHead(static_cast<std::uint16_t>(length)));
    LcdPacketRecord record;

    const DatagramContent content = unpackDatagram(buffer.bytes, record);

    EXPECT_EQ(content.fits, length <= kLongest) << length;
    EXPECT_EQ(record.fileName.size(), length <= kLongest ? length : 0) << length;
  }
}

TEST(Datagram, FileDataUpToTheEndOfTheBufferFits) {
  constexpr std::uint32_t kDataAt = kFileElementAt + kFileElementOverhead + 4;
  for (const std::uint32_t length : {1000 - kDataAt, 1001 - kDataAt, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    ReceiveBuffer buffer(headerElement(3) + commandStatusElement() + fileElement("name", ""));
    buffer.setU32(kDataAt - 4, length);
    LcdPacketRecord record;

    const DatagramContent content = unpackDatagram(buffer.bytes, record);

    EXPECT_EQ(content.fits, length <= 1000 - kDataAt) << length;
    EXPECT_EQ(content.fileData.has_value(), content.fits) << length;
  }
}

TEST(Datagram, OneThatDoesNotFitKeepsNeitherNameNorCommandOfTheElementAtFault) {
  LcdPacketRecord record;
  record.fileName = "before";
  record.commandCode = 5;
  ReceiveBuffer buffer(filePacket("name", "data"));
  buffer.setU32(kCommandStatusAt, 5000);

  EXPECT_FALSE(unpackDatagram(buffer.bytes, record).fits);
  EXPECT_EQ(record.commandCode, 5);
  EXPECT_EQ(record.fileName, "before");
}

TEST(Datagram, WrongSignatureAndWrongKindAndWrongLengthAreReportedInThisOrder) {
  DatagramContent content;
  content.isSigWordValid = false;
  content.isStatusKindValid = false;

  EXPECT_EQ(datagramReport(content, 0x44434241),
            "\nsig Word Bytes:A\tB\tC\tD\t"
            "\nError Network packet format detected::sigWord Code:1145258561,disconnecting..." +
                kFormatError + kFormatError);
}

}  // namespace
}  // namespace quendal
