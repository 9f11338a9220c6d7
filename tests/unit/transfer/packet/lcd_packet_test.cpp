#include "transfer/packet/lcd_packet.h"

#include "support/packet_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace quendal {
namespace {

// A header as it stands on the wire: 20 bytes, mark C55C, three elements, request words 1 and 2.
constexpr const char* kHeaderHex = "14000000 5CC5 03 00 01000000 02000000 E88EA5A5";
// An alive request for display 3 of column 2 in group 1.
constexpr const char* kAddressedStatusHex = "10000000 0100 0101 01 00 0300 0200 0100";
// The periodic status.
constexpr const char* kPlainStatusHex = "09000000 0200 0000 01";

std::span<std::byte> writable(std::string& bytes) {
  return std::as_writable_bytes(std::span(bytes));
}

TEST(LcdHeader, DecodesTheDocumentedBytes) {
  const auto header = decodeHeader(asBytes(fromHex(kHeaderHex)));

  ASSERT_TRUE(header.has_value());
  EXPECT_EQ(header->headerLength, 20U);
  EXPECT_EQ(header->packetMark, 0xC55C);
  EXPECT_EQ(header->elementCount, 3);
  EXPECT_EQ(header->requestWordA, 1U);
  EXPECT_EQ(header->requestWordB, 2U);
  EXPECT_EQ(header->sigWord, kSigWord);
}

TEST(LcdHeader, EncodesTheDocumentedBytesAndClearsTheReservedOne) {
  std::string bytes(kHeaderSize, '\xFF');

  EXPECT_TRUE(encodeHeader({.elementCount = 3, .requestWordA = 1, .requestWordB = 2}, writable(bytes)));

  EXPECT_EQ(bytes, fromHex(kHeaderHex));
}

TEST(LcdHeader, ExtremesSurviveTheRoundTrip) {
  const LcdHeader sent = {.headerLength = 0xFFFFFFFF,
                          .packetMark = 0xFFFF,
                          .elementCount = 255,
                          .requestWordA = 0x80000000,
                          .requestWordB = 0x7FFFFFFF,
                          .sigWord = 0xFFFFFFFE};
  std::string bytes(kHeaderSize, '\0');
  encodeHeader(sent, writable(bytes));

  const auto received = decodeHeader(asBytes(bytes));

  ASSERT_TRUE(received.has_value());
  EXPECT_EQ(received->headerLength, sent.headerLength);
  EXPECT_EQ(received->packetMark, sent.packetMark);
  EXPECT_EQ(received->elementCount, sent.elementCount);
  EXPECT_EQ(received->requestWordA, sent.requestWordA);
  EXPECT_EQ(received->requestWordB, sent.requestWordB);
  EXPECT_EQ(received->sigWord, sent.sigWord);
}

TEST(LcdHeader, CutShortIsNothing) {
  const std::string whole = fromHex(kHeaderHex);

  for (std::size_t length = 0; length < whole.size(); ++length) {
    std::string bytes = whole.substr(0, length);
    const std::string before = bytes;
    EXPECT_FALSE(decodeHeader(asBytes(bytes)).has_value()) << length;
    EXPECT_FALSE(encodeHeader({}, writable(bytes))) << length;
    EXPECT_EQ(bytes, before) << "and nothing of it is written";
  }
}

TEST(LcdHeader, FieldsStayAtTheirOffsetsInALongerOne) {
  const auto header = decodeHeader(asBytes(headerElement(2, kMaxHeaderLength)));

  ASSERT_TRUE(header.has_value());
  EXPECT_EQ(header->headerLength, kMaxHeaderLength);
  EXPECT_EQ(header->elementCount, 2);
  EXPECT_EQ(header->sigWord, kSigWord);
}

TEST(LcdHeader, FieldsGoIntoTheRecord) {
  LcdPacketRecord record;

  takeHeaderFields(*decodeHeader(asBytes(fromHex(kHeaderHex))), record);

  EXPECT_EQ(record.elementCount, 3);
  EXPECT_EQ(record.headerLength, 20U);
  EXPECT_EQ(record.requestWordA, 1U);
  EXPECT_EQ(record.requestWordB, 2U);
  EXPECT_EQ(record.sigWord, kSigWord);
}

TEST(CommandStatus, DecodesTheDocumentedBytes) {
  const auto request = decodeCommandStatus(asBytes(fromHex(kAddressedStatusHex)));
  const auto plain = decodeCommandStatus(asBytes(fromHex(kPlainStatusHex)));

  ASSERT_TRUE(request.has_value());
  EXPECT_EQ(request->elementLength, kAddressedStatusSize);
  EXPECT_EQ(request->statusKind, 1);
  EXPECT_EQ(request->commandCode, kAliveRequest);
  ASSERT_TRUE(plain.has_value());
  EXPECT_EQ(plain->elementLength, kPlainStatusSize);
  EXPECT_EQ(plain->statusKind, 2);
  EXPECT_EQ(plain->commandCode, 0);
}

TEST(CommandStatus, EncodesTheDocumentedBytes) {
  std::string bytes = fromHex("00000000 0000 0000 01 00 0000 0000 0000");

  EXPECT_TRUE(
      encodeCommandStatus({.elementLength = 16, .statusKind = 1, .commandCode = kAliveRequest}, writable(bytes)));
  EXPECT_TRUE(encodeDisplayIdentity({.groupNo = 1, .columnNo = 2, .displayNo = 3}, writable(bytes)));

  EXPECT_EQ(bytes, fromHex(kAddressedStatusHex));
}

TEST(CommandStatus, CutShortIsNothing) {
  const std::string whole = fromHex(kAddressedStatusHex);

  for (std::size_t length = 0; length < whole.size(); ++length) {
    std::string bytes = whole.substr(0, length);
    const bool holdsStatus = length >= kCommandStatusMinSize;
    EXPECT_EQ(decodeCommandStatus(asBytes(bytes)).has_value(), holdsStatus) << length;
    EXPECT_FALSE(decodeDisplayIdentity(asBytes(bytes)).has_value()) << length;
    EXPECT_EQ(encodeCommandStatus({}, writable(bytes)), holdsStatus) << length;
    EXPECT_FALSE(encodeDisplayIdentity({}, writable(bytes))) << length;
  }
}

TEST(DisplayIdentity, StandsInWireOrder) {
  const auto address = decodeDisplayIdentity(asBytes(fromHex(kAddressedStatusHex)));

  ASSERT_TRUE(address.has_value());
  EXPECT_EQ(address->displayNo, 3);
  EXPECT_EQ(address->columnNo, 2);
  EXPECT_EQ(address->groupNo, 1);
}

TEST(FileElement, NameLengthStandsAtOffsetEight) {
  const std::string head = fromHex("13000000 0300 0000 FF03");

  EXPECT_EQ(decodeFileNameLength(asBytes(head)), 1023);
  for (std::size_t length = 0; length < head.size(); ++length) {
    EXPECT_FALSE(decodeFileNameLength(asBytes(head.substr(0, length))).has_value()) << length;
  }
}

TEST(FileElement, IsWrittenWholeAndReadBack) {
  std::array<std::byte, 19> out{};
  const std::string data = "hi";

  ASSERT_TRUE(encodeFileElement("a.b", asBytes(data), out));

  EXPECT_TRUE(std::ranges::equal(out, asBytes(fromHex("13000000 0300 0000 0300 612E62 02000000 6869"))));
  EXPECT_EQ(decodeFileNameLength(out), 3);
}

TEST(FileElement, ThatDoesNotFitIsNotBegun) {
  const std::string data = "hi";
  std::array<std::byte, 19> out{};

  for (std::size_t length = 0; length < out.size(); ++length) {
    EXPECT_FALSE(encodeFileElement("a.b", asBytes(data), std::span(out).first(length))) << length;
  }
  std::vector<std::byte> roomy(70000);
  EXPECT_FALSE(encodeFileElement(std::string(65536, 'n'), {}, roomy));
  EXPECT_TRUE(encodeFileElement(std::string(65535, 'n'), {}, roomy));
  EXPECT_EQ(out, (std::array<std::byte, 19>{}));
}

TEST(FileElement, PacketOfATransmitterIsTheDocumentedBytes) {
  // The two-byte file "hi" named "a.b", with a plain status before it.
  EXPECT_EQ(headerElement(3) + fileElement("a.b", "hi"), fromHex("14000000 5CC5 03 00 00000000 00000000 E88EA5A5"
                                                                 "13000000 0300 0000 0300 612E62 02000000 6869"));
}

TEST(LcdPacketLengths, HoldTheFixedFieldsAndFitTheRecord) {
  for (const std::uint32_t length : {20U, 21U, 1025U, 1026U}) {
    EXPECT_TRUE(isHeaderLengthValid(length)) << length;
  }
  for (const std::uint32_t length : {0U, 3U, 4U, 19U, 1027U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_FALSE(isHeaderLengthValid(length)) << length;
  }
  for (const std::uint32_t length : {8U, 9U, 16U, 1023U, 1024U}) {
    EXPECT_TRUE(isCommandStatusLengthValid(length)) << length;
  }
  for (const std::uint32_t length : {0U, 3U, 4U, 7U, 1025U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(isCommandStatusLengthValid(length)) << length;
  }
}

TEST(LcdPacketKinds, AreOneAndTwo) {
  EXPECT_TRUE(isStatusKindValid(1));
  EXPECT_TRUE(isStatusKindValid(2));
  for (const std::uint16_t kind : std::initializer_list<std::uint16_t>{0, 3, 256, 257, 65535}) {
    EXPECT_FALSE(isStatusKindValid(kind)) << kind;
  }
}

}  // namespace
}  // namespace quendal
