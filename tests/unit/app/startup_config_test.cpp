#include "app/startup_config.h"

#include "base/shared_state.h"
#include "maintenance/stick/stick_state.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/start_folder.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"
#include "video/video_state.h"

#include <Poco/Exception.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace quendal {
namespace {

class StartupConfig : public testing::Test {
 protected:
  // Start-up over a tree with these keys changed; nothing but its exit status.
  int load(const std::vector<std::pair<std::string, std::string>>& keys = {}) {
    folder.writeServiceIni(keys);
    return loadStartupConfig();
  }

  StartFolder folder;
  ErrorStreamCapture capture;
};

TEST_F(StartupConfig, ReadsEveryKey) {
  EXPECT_EQ(
      load({{"MTTL", "7"}, {"mcRstHrFactor", "12"}, {"McastReplyByTCP", "true"}, {"usbSourceListFile", "list.spt"}}),
      0);

  EXPECT_EQ(shared::mcGroupAddress.toString(), "239.255.77.1");
  EXPECT_EQ(shared::mcPort, 50100);
  EXPECT_EQ(shared::mcTtl, 7);
  EXPECT_EQ(shared::mcRstHrFactor, 12);
  EXPECT_TRUE(shared::mcReplyByTcp);
  EXPECT_EQ(shared::dataPort, 50200);
  EXPECT_EQ(shared::dataPortValue, 50200U);
  EXPECT_EQ(shared::idFilePath, "../Work/KvId.ini");
  EXPECT_EQ(shared::groupNo, 1);
  EXPECT_EQ(shared::columnNo, 2);
  EXPECT_EQ(shared::displayNo, 3);
  EXPECT_EQ(shared::targetRootDir, "/data/app/Target");
  EXPECT_EQ(shared::usbSourceListFile, "list.spt");
  EXPECT_EQ(shared::tempDestDir, folder.path() + "/tmp//Dest");
}

TEST_F(StartupConfig, OptionalKeysHaveTheirDefaults) {
  EXPECT_EQ(load(), 0);

  EXPECT_EQ(shared::netIfName, "eth0");
  EXPECT_EQ(shared::carrierFilePath, "/sys/class/net/eth0/carrier");
  EXPECT_EQ(shared::mcTtl, 1);
  EXPECT_EQ(shared::mcRstHrFactor, 4);
  EXPECT_FALSE(shared::mcReplyByTcp);
  EXPECT_EQ(shared::usbSourceListFile, "KVFILE_XFER_INSTRU.spt");
  EXPECT_EQ(shared::videoMcAddress, "");
  EXPECT_FALSE(shared::videoCaptureReopenReq);
  EXPECT_FALSE(shared::videoWatchEnabled);
  EXPECT_FALSE(shared::staticIpMode);
  EXPECT_FALSE(shared::stagedTransfers);
  EXPECT_EQ(fake::events(), std::vector<std::string>());
}

TEST_F(StartupConfig, AVideoStreamIsWatchedWhenItsKeyNamesOne) {
  EXPECT_EQ(load({{"videoMcIp", "239.255.77.2"}}), 0);

  EXPECT_EQ(shared::videoMcAddress, "239.255.77.2");
  EXPECT_TRUE(shared::videoCaptureReopenReq);
  EXPECT_TRUE(shared::videoWatchEnabled);
}

TEST_F(StartupConfig, AVideoStreamThatIsNoMulticastGroupIsReportedLastAndNotWatched) {
  EXPECT_EQ(load({{"videoMcIp", "192.168.77.2"}}), 0);

  EXPECT_FALSE(shared::videoWatchEnabled);
  EXPECT_TRUE(capture.text().ends_with(
      "\r\n\nvideoMcIp in ini is not an IPv4 multicast address, video watch stays off:192.168.77.2"));
}

TEST_F(StartupConfig, ReportsEverythingInItsOrder) {
  folder.writeServiceIni({}, "[ethernet]\ninterface = enp3s0\n");
  folder.write("data/home/kavenor/Work/DIP.ini", "DIP_Byte0 = 41\n");
  folder.write("Work/CurLayOut.cfg", "[Panel]\nOrientation = 270\n");

  EXPECT_EQ(loadStartupConfig(), 0);

  EXPECT_EQ(capture.text(),
            "\nDest dir does not exist;creating...done!"
            "\nWork dir does not exist;creating...done!"
            "\nusing interface:enp3s0\ncarrier sig:/sys/class/net/enp3s0/carrier"
            "\nlcdMcastIp in ini:239.255.77.1\n\n"
            "\nlcdMcastIp in ini,after convert:239.255.77.1"
            "\n   GroupNO/LiftNO/DisplayNO:1/2/3"
            "\r\n   DIP switch set LCD to HALL Type, Unit ID = 1"
            "\r\n   Orientation: Portrait Inverted\r\n");
  EXPECT_EQ(shared::netIfName, "enp3s0");
  EXPECT_EQ(shared::carrierFilePath, "/sys/class/net/enp3s0/carrier");
}

TEST_F(StartupConfig, DirectoriesAreCreatedBeforeTheMissingConfigurationEndsIt) {
  std::filesystem::remove_all(folder.path() + "/Work");

  EXPECT_EQ(loadStartupConfig(), 1);

  EXPECT_TRUE(std::filesystem::is_directory(folder.path() + "/Dest"));
  EXPECT_TRUE(std::filesystem::is_directory(folder.path() + "/Work"));
  EXPECT_TRUE(std::filesystem::is_directory(folder.path() + "/tmp/Dest"));
  EXPECT_TRUE(std::filesystem::is_directory(folder.path() + "/tmp/Work"));
  EXPECT_EQ(capture.text(),
            "\nWork dir does not exist;creating...done!"
            "\nDest dir does not exist;creating...done!"
            "\nWork dir does not exist;creating...done!"
            "\nQuendal_L.ini does not exist in Work dir;quit...done!");
}

TEST_F(StartupConfig, DirectoryThatCannotBeCreatedEndsTheApplication) {
  std::filesystem::remove_all(folder.path() + "/tmp");

  EXPECT_THROW(loadStartupConfig(), Poco::Exception);
}

TEST_F(StartupConfig, PortsAndNumbersAreCutTo16Bits) {
  folder.write("Work/KvId.ini", "GROUPNO = 65537\nCOLUMNNO = -1\nDISPLAYNO = 0x10\n");

  EXPECT_EQ(load({{"lcdDataPort", "70000"}, {"lcdMcastPort", "65536"}}), 0);

  EXPECT_EQ(shared::dataPort, 4464);
  EXPECT_EQ(shared::dataPortValue, 4464U);
  EXPECT_EQ(shared::mcPort, 0);
  EXPECT_EQ(shared::groupNo, 1);
  EXPECT_EQ(shared::columnNo, 65535);
  EXPECT_EQ(shared::displayNo, 16);
}

TEST_F(StartupConfig, PortsMayBeHexadecimalAndHaveBlanksAround) {
  EXPECT_EQ(load({{"lcdDataPort", "  0x1F90  "}}), 0);

  EXPECT_EQ(shared::dataPort, 8080);
}

TEST_F(StartupConfig, OnlyTheExactWordTrueTurnsRepliesByTcpOn) {
  for (const char* value : {"True", "TRUE", "1", "yes", "true ; by TCP", ""}) {
    ASSERT_EQ(load({{"McastReplyByTCP", value}}), 0);
    EXPECT_FALSE(shared::mcReplyByTcp) << value;
  }
}

TEST_F(StartupConfig, TransfersAreStagedWhenTheKeySaysSo) {
  for (const auto& [value, staged] : {std::pair("staged", true), {"direct", false}}) {
    EXPECT_EQ(load({{"storeMode", value}}), 0);
    EXPECT_EQ(shared::stagedTransfers, staged);
  }
}

TEST_F(StartupConfig, SendersAreEverybodyUntilTheKeyNamesThem) {
  EXPECT_EQ(load({}), 0);
  EXPECT_TRUE(shared::allowedSenders.allows(Poco::Net::IPAddress("10.1.2.4")));

  EXPECT_EQ(load({{"allowedSenders", "192.168.77.0/24, 10.1.2.3"}}), 0);
  EXPECT_TRUE(shared::allowedSenders.allows(Poco::Net::IPAddress("10.1.2.3")));
  EXPECT_FALSE(shared::allowedSenders.allows(Poco::Net::IPAddress("10.1.2.4")));
}

TEST_F(StartupConfig, GroupThatIsNoAddressStaysTheWildcard) {
  EXPECT_EQ(load({{"lcdMcastIp", "abc"}}), 0);

  EXPECT_EQ(shared::mcGroupAddress.toString(), "0.0.0.0");
  EXPECT_NE(capture.text().find("\nlcdMcastIp in ini:abc\n\n\nlcdMcastIp in ini,after convert:0.0.0.0\n"),
            std::string::npos);
}

TEST_F(StartupConfig, DipFileWithoutItsKeyReadsAsCarZero) {
  folder.write("data/home/kavenor/Work/DIP.ini", "Other = 41\n");

  EXPECT_EQ(load(), 0);

  EXPECT_NE(capture.text().find("\r\n   DIP switch set LCD to Car Type, Unit ID = 0\r\n"), std::string::npos);
}

TEST_F(StartupConfig, LastDuplicateOfAKeyWins) {
  folder.writeServiceIni({{"lcdDataPort", "4000"}}, "[Tessane Param]\nlcdDataPort = 4001\n");

  EXPECT_EQ(loadStartupConfig(), 0);
  EXPECT_EQ(shared::dataPort, 4001);
}

}  // namespace
}  // namespace quendal
