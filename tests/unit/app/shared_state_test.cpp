#include "app/shared_state.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace quendal {
namespace {

TEST(SharedState, ConfigurationBeginsWithItsDefaults) {
  EXPECT_EQ(shared::mcGroupAddress.toString(), "0.0.0.0");
  EXPECT_EQ(shared::mcPort, 0);
  EXPECT_EQ(shared::mcTtl, 1);
  EXPECT_EQ(shared::mcRstHrFactor, 4);
  EXPECT_FALSE(shared::mcReplyByTcp);
  EXPECT_EQ(shared::dataPort, 0);
  EXPECT_EQ(shared::dataPortValue, 0U);
  EXPECT_EQ(shared::groupNo, 0);
  EXPECT_EQ(shared::columnNo, 0);
  EXPECT_EQ(shared::displayNo, 0);
  EXPECT_EQ(shared::usbSourceListFile, "KVFILE_XFER_INSTRU.spt");
  EXPECT_EQ(shared::netIfName, "eth0");
  EXPECT_EQ(shared::carrierFilePath, "/sys/class/net/eth0/carrier");
  EXPECT_EQ(shared::linkedIfName, "eth0");
}

TEST(SharedState, TextsBeginEmpty) {
  for (const std::string* text :
       {&shared::idFilePath, &shared::targetRootDir, &shared::tempDestDir, &shared::staticIp, &shared::staticNetmask,
        &shared::staticGateway, &shared::staticDns, &shared::tcpServerIp, &shared::videoMcAddress}) {
    EXPECT_EQ(*text, "");
  }
}

TEST(SharedState, FlagsBeginClear) {
  for (const Flag* flag :
       {&shared::staticIpMode, &shared::carrierUpSeen, &shared::stopReq, &shared::dataStopReq, &shared::auxStopReq,
        &shared::dataReinitReq, &shared::dataPauseReq, &shared::dataPaused, &shared::mcPauseReq, &shared::mcPaused,
        &shared::linkUp, &shared::linkUpPrev, &shared::dontCareMode, &shared::usbDrivePresent,
        &shared::videoWatchEnabled, &shared::videoCaptureReopenReq}) {
    EXPECT_FALSE(*flag);
  }
}

TEST(SharedState, CountersAndRecordsBeginEmpty) {
  EXPECT_EQ(shared::videoPacketCount, 0U);
  EXPECT_EQ(shared::videoPacketsPerSecond, 0U);
  EXPECT_EQ(shared::videoIdleSeconds, 0U);
  EXPECT_EQ(shared::lastRelaunchHour, -1);
  EXPECT_EQ(shared::currentInterface.displayName(), "");
  EXPECT_EQ(shared::currentIpAddress.get().toString(), "0.0.0.0");
  for (const LcdPacketRecord* record :
       {&shared::dataRxRecord, &shared::mcRxRecord, &shared::mcReplyRecord, &shared::spareRecord}) {
    EXPECT_EQ(record->elementCount, 0);
    EXPECT_EQ(record->sigWord, 0U);
    EXPECT_EQ(record->fileName, "");
    EXPECT_TRUE(std::all_of(record->rawHeader.begin(), record->rawHeader.end(),
                            [](std::byte byte) { return byte == std::byte{0}; }));
  }
}

TEST(SharedState, BuffersHaveTheirCapacities) {
  EXPECT_EQ(shared::fileChunkBuffer.size(), 1024U);
  EXPECT_EQ(shared::mcRxBuffer.size(), 1000U);
  EXPECT_EQ(shared::mcSendBuffer.size(), 4096U);
  EXPECT_EQ(shared::shellCmdBuf.size(), 128U);
  EXPECT_EQ(shared::dataRxRecord.rawHeader.size(), 1026U);
  EXPECT_EQ(shared::dataRxRecord.rawCommandStatus.size(), 1024U);
  EXPECT_EQ(shared::dataRxRecord.fileNameBuffer.size(), 1024U);
}

TEST(SharedState, AddressIsReplacedAsAWhole) {
  SharedIpAddress address;

  address.set(Poco::Net::IPAddress("fe80::1"));

  EXPECT_EQ(address.get().toString(), "fe80::1");
}

}  // namespace
}  // namespace quendal
