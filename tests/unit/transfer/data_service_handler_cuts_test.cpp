// Every point at which a packet can be cut: which stage it is, for a close and for a reset.
#include "support/display_trace.h"
#include "support/packet_builder.h"
#include "support/served_connection.h"
#include "support/temporary_folder.h"
#include "support/transfer_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

const std::string kClosed = ":read 0 bytes, seems that socket was closed,disconnecting...";
const std::string kReset = "\nException Message:Connection reset by peer";

std::string code(int number) {
  return "\nData TCP port read err, Err RC:" + std::to_string(number);
}

struct Row {
  const char* where;
  std::string sent;
  std::string afterClose;
  std::string afterReset;
};

std::vector<Row> headerRows() {
  const std::string header = headerElement(2);
  const std::string status = commandStatusElement();
  return {{"nothing", "", "\nDataProcHeader<pos:0>" + kClosed + code(259),
           "\nDataProcHeader<pos:0>: Exception Met!" + kReset + "\nDataProcHeader<pos:0>" + kClosed + code(259)},
          {"within the header's length", header.substr(0, 3), "\nDataProcHeader<pos:0>" + kClosed + code(259),
           "\nDataProcHeader<pos:0>: Exception Met!" + kReset + "\nDataProcHeader<pos:0>" + kClosed + code(259)},
          {"behind the header's length", header.substr(0, 4), "\nDataProcHeader<pos:1>" + kClosed + code(515),
           "\nDataProcHeader<pos:1>: Exception Met!" + kReset + code(513)},
          {"within the header", header.substr(0, 19), "\nDataProcHeader<pos:1>" + kClosed + code(515),
           "\nDataProcHeader<pos:1>: Exception Met!" + kReset + code(513)},
          {"behind the header", header, "\nDataRxCmdStatus<pos:0>" + kClosed + code(515),
           "\nDataRxCmdStatus<pos:0>:: Exception Met!" + kReset + "\nDataRxCmdStatus<pos:0>" + kClosed + code(515)},
          {"behind the status length", header + status.substr(0, 4), "\nDataRxCmdStatus<pos:1>" + kClosed + code(771),
           "\nDataRxCmdStatus<pos:1>:: Exception Met!" + kReset + code(769)},
          {"within the status", header + status.substr(0, 8), "\nDataRxCmdStatus<pos:1>" + kClosed + code(771),
           "\nDataRxCmdStatus<pos:1>:: Exception Met!" + kReset + code(769)}};
}

std::vector<Row> fileRows() {
  const std::string packet = headerElement(3) + commandStatusElement();
  const std::string file = fileElement("name", "12345");
  const std::string nameLine = "\nDataRxFileElement,fileAsciiName:name";
  const std::string headReset =
      "\nDataRxFileElement<pos:0>:: Exception Met!" + kReset + "\nDataRxFileElement<pos:0>" + kClosed + code(771);
  return {
      {"behind the status", packet, "\nDataRxFileElement<pos:0>" + kClosed + code(771), headReset},
      {"within the file's head", packet + file.substr(0, 9), "\nDataRxFileElement<pos:0>" + kClosed + code(771),
       headReset},
      {"behind the file's head", packet + file.substr(0, 10), "\nDataRxFileElement<pos:1>" + kClosed + code(1027),
       "\nDataRxFileElement<pos:1>:: Exception Met!" + kReset + code(1025)},
      {"within the name", packet + file.substr(0, 13), "\nDataRxFileElement<pos:1>" + kClosed + code(1027),
       "\nDataRxFileElement<pos:1>:: Exception Met!" + kReset + code(1025)},
      {"behind the name", packet + file.substr(0, 14), nameLine + "\nDataRxFileElement<pos:2>" + kClosed + code(771),
       nameLine + "\nDataRxFileElement<pos:2>:: Exception Met!" + kReset + code(769)},
      {"within the data length", packet + file.substr(0, 17),
       nameLine + "\nDataRxFileElement<pos:2>" + kClosed + code(771),
       nameLine + "\nDataRxFileElement<pos:2>:: Exception Met!" + kReset + code(769)},
      {"within the data", packet + file.substr(0, 20), nameLine + "\nDataProcHeader<pos:0>" + kClosed + code(259),
       nameLine + "\nDataRxFileElement<pos:3>:: Exception Met!" + kReset + code(1537)}};
}

void expectRows(const std::vector<Row>& rows) {
  const TransferFolder folder;
  for (const Row& row : rows) {
    {
      ServedConnection connection;
      connection.send(row.sent);
      connection.closeSending();
      EXPECT_EQ(connection.runUntilFailure(), row.afterClose) << "closed: " << row.where;
    }
    ServedConnection connection;
    connection.send(row.sent);
    connection.reset();
    EXPECT_EQ(connection.runUntilFailure(), row.afterReset) << "reset: " << row.where;
  }
}

TEST(DataServiceHandlerCuts, EveryCutOfHeaderAndStatusHasItsMessagesAndCode) {
  expectRows(headerRows());
}

TEST(DataServiceHandlerCuts, EveryCutOfAFileElementHasItsMessagesAndCode) {
  expectRows(fileRows());
}

TEST(DataServiceHandlerCuts, WholePacketsBeforeTheCutHaveBeenReceived) {
  const TransferFolder folder;
  ServedConnection connection;
  connection.send(filePacket("one", "1") + headerElement(1) + filePacket("two", "22") + headerElement(3).substr(0, 19));
  connection.closeSending();

  EXPECT_EQ(connection.runUntilFailure(),
            "\nDataRxFileElement,fileAsciiName:one\nDataRxFileElement,fileAsciiName:two\nDataProcHeader<pos:1>" +
                kClosed + code(515));
  EXPECT_EQ(readFile(folder.target("one")) + readFile(folder.target("two")), "122");
}

TEST(DataServiceHandlerCuts, ResetWithinTheDataReleasesTheDisplayAfterFiveSeconds) {
  const TransferFolder folder;
  DisplayTrace trace;
  ServedConnection connection;
  connection.send(filePacket("name", std::string(5000, 'x')).substr(0, 3000));
  connection.reset();

  connection.runUntilFailure();

  EXPECT_EQ(trace.entries(), std::vector<std::string>({"sleep 5000", "post RXCOMPLETE"}));
}

}  // namespace
}  // namespace quendal
