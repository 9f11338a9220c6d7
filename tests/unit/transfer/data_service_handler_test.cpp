// The connection handler up to the command status; file elements are tested beside it.
#include "transfer/data_service_handler.h"

#include "base/shared_state.h"
#include "support/packet_builder.h"
#include "support/served_connection.h"
#include "transfer/transfer_state.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace quendal {
namespace {

const std::string kHeaderClosed =
    "\nDataProcHeader<pos:0>:read 0 bytes, seems that socket was closed,disconnecting..."
    "\nData TCP port read err, Err RC:259";
const std::string kHeaderFormat =
    "\nDataProcHeader:Error Network packet format detected,disconnecting..."
    "\nData TCP port read err, Err RC:516";
const std::string kStatusFormat =
    "\nDataRxCmdStatus:Error Network packet format detected,disconnecting..."
    "\nData TCP port read err, Err RC:1027";

// What a connection that sent `bytes` and then closed leaves on the error stream.
std::string messagesAfter(const std::string& bytes) {
  ServedConnection connection;
  connection.send(bytes);
  connection.closeSending();
  return connection.runUntilFailure();
}

// The first four bytes of an element that claims to be `length` bytes long, and enough behind them.
std::string withLength(std::string element, std::uint32_t length) {
  for (std::size_t at = 0; at < sizeof length; ++at) {
    element[at] = static_cast<char>(length >> (8 * at));
  }
  return element + std::string(2000, '\0');
}

TEST(DataServiceHandler, CloseWithoutAByteIsError259AndBothConnectionLines) {
  EXPECT_EQ(messagesAfter(""), kHeaderClosed);
}

TEST(DataServiceHandler, HeaderAloneLeavesTheConnectionOpenForTheNext) {
  for (const std::uint8_t count : std::initializer_list<std::uint8_t>{0, 1}) {
    EXPECT_EQ(messagesAfter(headerElement(count) + headerElement(count)), kHeaderClosed) << int{count};
    EXPECT_EQ(shared::dataRxRecord.elementCount, count);
  }
}

TEST(DataServiceHandler, OtherCountsThanThreeCarryACommandStatusAndNoFile) {
  for (const std::uint8_t count : std::initializer_list<std::uint8_t>{2, 4, 255}) {
    EXPECT_EQ(messagesAfter(headerElement(count) + commandStatusElement(2) + headerElement(1)), kHeaderClosed)
        << int{count};
  }
}

TEST(DataServiceHandler, PacketsOfOneSegmentAreReadOneByOne) {
  EXPECT_EQ(messagesAfter(headerElement(1) + headerElement(2) + commandStatusElement() + headerElement(0)),
            kHeaderClosed);
  EXPECT_EQ(shared::dataRxRecord.elementCount, 0);
}

TEST(DataServiceHandler, EachNotificationReadsOnePacketThoughTheSegmentHoldsMore) {
  const ErrorStreamCapture capture;
  LoopbackPair pair = connectLoopback();
  DataReactor reactor;
  auto* handler = new DataServiceHandler(pair.accepted, reactor);
  sendAll(pair.transmitter, headerElement(1, 21) + headerElement(2, 22) + commandStatusElement());

  handler->onReadable();
  EXPECT_EQ(shared::dataRxRecord.headerLength, 21U);
  handler->onReadable();
  EXPECT_EQ(shared::dataRxRecord.headerLength, 22U);
  EXPECT_EQ(pair.accepted.available(), 0) << "the second one's command status is read with it";

  reactor.close();
  reactor.run();  // only the shutdown, which deletes the handler
}

TEST(DataServiceHandler, HeaderFieldsGoIntoTheRecord) {
  std::string header = headerElement(2, 21);
  std::copy_n("\x01\x02\x03\x04\x05\x06\x07\x08", 8, header.begin() + 8);

  messagesAfter(header + fromHex("10000000 0100 0101 01 00 0300 0200 0100"));

  const LcdPacketRecord& record = shared::dataRxRecord;
  EXPECT_EQ(record.elementCount, 2);
  EXPECT_EQ(record.headerLength, 21U);
  EXPECT_EQ(record.requestWordA, 0x04030201U);
  EXPECT_EQ(record.requestWordB, 0x08070605U);
  EXPECT_EQ(record.sigWord, kSigWord);
  EXPECT_EQ(record.commandStatusLength, 16U);
  EXPECT_EQ(record.commandCode, kAliveRequest);
  EXPECT_EQ(record.rawHeader.at(20), std::byte{0x5A}) << "the rest of a longer header is kept";
  EXPECT_EQ(record.rawCommandStatus.at(14), std::byte{1});
}

TEST(DataServiceHandler, HeaderLengthsThatFitAreTaken) {
  for (const std::uint32_t length : {20U, 21U, 1026U}) {
    EXPECT_EQ(messagesAfter(headerElement(1, length)), kHeaderClosed) << length;
    EXPECT_EQ(shared::dataRxRecord.headerLength, length);
  }
}

TEST(DataServiceHandler, HeaderLengthsThatDoNotFitAreError516) {
  for (const std::uint32_t length : {0U, 3U, 4U, 19U, 1027U, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(messagesAfter(withLength(headerElement(1), length)), kHeaderFormat) << length;
  }
}

TEST(DataServiceHandler, WrongSignatureIsError516BeforeAnyElement) {
  std::string header = headerElement(3);
  header.back() = '\x5A';

  EXPECT_EQ(messagesAfter(header), kHeaderFormat);
}

TEST(DataServiceHandler, CommandStatusLengthsThatFitAreTaken) {
  for (const std::uint32_t length : {8U, 9U, 16U, 1024U}) {
    EXPECT_EQ(messagesAfter(headerElement(2) + commandStatusElement(1, length)), kHeaderClosed) << length;
    EXPECT_EQ(shared::dataRxRecord.commandStatusLength, length);
  }
}

TEST(DataServiceHandler, CommandStatusLengthsThatDoNotFitAreError1027) {
  for (const std::uint32_t length : {0U, 3U, 4U, 7U, 1025U, 0xFFFFFFFFU}) {
    EXPECT_EQ(messagesAfter(headerElement(2) + withLength(commandStatusElement(), length)), kStatusFormat) << length;
  }
}

TEST(DataServiceHandler, OtherStatusKindsAreError1027) {
  for (const std::uint16_t kind : std::initializer_list<std::uint16_t>{0, 3, 0x0100, 0xFFFF}) {
    EXPECT_EQ(messagesAfter(headerElement(2) + commandStatusElement(kind)), kStatusFormat) << kind;
  }
}

TEST(DataServiceHandler, ElementsThatComeByteByByteAreCompleted) {
  ServedConnection connection;
  connection.run();
  for (const char byte : headerElement(2) + commandStatusElement() + headerElement(1)) {
    connection.send(std::string(1, byte));
  }
  connection.closeSending();

  EXPECT_EQ(connection.runUntilFailure(), kHeaderClosed);
}

TEST(DataServiceHandler, StopRequestEndsAPacketThatIsHalfRead) {
  ServedConnection connection;
  connection.send(headerElement(2));
  shared::dataStopReq = true;

  EXPECT_EQ(connection.runUntilFailure(),
            "\nDataProcHeader<pos:0>: Exception Met!\nException Message:Illegal state: the service is stopping"
            "\nDataProcHeader<pos:0>:read 0 bytes, seems that socket was closed,disconnecting..."
            "\nData TCP port read err, Err RC:259");
}

TEST(DataServiceHandler, OneFailureIsReportedOnceThoughTheSocketStaysReadable) {
  ServedConnection connection;
  connection.send("rubbish that is no packet at all, in several reads' worth of bytes");

  EXPECT_EQ(connection.runUntilFailure(), kHeaderFormat);
}

TEST(DataServiceHandler, ConnectionThatWasResetBeforeItIsServedLeavesNothingRegistered) {
  LoopbackPair pair = connectLoopback();
  DataReactor reactor;
  resetConnection(pair.transmitter);

  EXPECT_THROW(new DataServiceHandler(pair.accepted, reactor), Poco::Exception);

  EXPECT_FALSE(reactor.has(pair.accepted));
}

TEST(DataServiceHandler, NothingMoreIsReadOnceTheReactorIsClosing) {
  const ErrorStreamCapture capture;
  LoopbackPair pair = connectLoopback();
  DataReactor reactor;
  new DataServiceHandler(pair.accepted, reactor);
  sendAll(pair.transmitter, "rubbish that is no packet at all");
  reactor.close();

  reactor.run();  // only the shutdown, which deletes the handler

  EXPECT_EQ(capture.text().find("Error Network packet format"), std::string::npos);
  EXPECT_FALSE(shared::dataReinitReq);
}

}  // namespace
}  // namespace quendal
