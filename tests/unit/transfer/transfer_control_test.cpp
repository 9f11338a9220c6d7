// The control files that frame a transfer: modes, wake-ups with their waits, archive log, reboot.
#include "support/display_trace.h"
#include "support/fake_platform.h"
#include "support/packet_builder.h"
#include "support/served_connection.h"
#include "support/temporary_folder.h"
#include "support/transfer_folder.h"
#include "transfer/transfer_state.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quendal {
namespace {

namespace fs = std::filesystem;
using Entries = std::vector<std::string>;

const Entries kReboot = {"run sudo sync", "sleep 3000", "post RXCOMPLETE", "run sudo systemctl reboot -i"};

class TransferControl : public testing::Test {
 protected:
  TransferControl() { fake::setNow(Poco::DateTime(2024, 3, 7, 4, 5, 6).timestamp()); }

  static std::string receive(const std::string& bytes) {
    ServedConnection connection;
    connection.send(bytes);
    connection.closeSending();
    return connection.runUntilFailure();
  }

  TransferFolder folder;
  DisplayTrace trace;
};

TEST_F(TransferControl, NormalTransferWakesTheDisplayAtItsStopMarker) {
  receive(filePacket("FileList.sys", "list") + filePacket("name", "data") + filePacket("kvXferStop.sys", "stop"));

  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "post RXCOMPLETE"}));
  for (const char* name : {"FileList.sys", "name", "kvXferStop.sys"}) {
    EXPECT_TRUE(fs::exists(folder.target(name))) << name;
  }
}

TEST_F(TransferControl, DontCareTransferGoesToTheScratchDirectoryAndEndsWithoutAStart) {
  receive(filePacket("FLDnCare.sys", "list") + filePacket("name", "data") + filePacket("kvXferStop.sys", "stop"));

  EXPECT_EQ(trace.entries(), Entries({"post START2RXDUNCARE", "sleep 5000", "post RXCOMPLETE"}));
  for (const char* name : {"FLDnCare.sys", "name", "kvXferStop.sys"}) {
    EXPECT_TRUE(fs::exists(folder.scratch(name))) << name;
    EXPECT_FALSE(fs::exists(folder.target(name))) << name;
  }
}

TEST_F(TransferControl, ModeStaysFromConnectionToConnectionUntilAFileList) {
  receive(filePacket("FLDnCare.sys", ""));
  receive(filePacket("name", "data"));
  EXPECT_TRUE(shared::dontCareMode);
  receive(filePacket("FileList.sys", ""));

  EXPECT_FALSE(shared::dontCareMode);
  EXPECT_TRUE(fs::exists(folder.scratch("name")));
  EXPECT_TRUE(fs::exists(folder.target("FileList.sys")));
}

TEST_F(TransferControl, NameWithBothModesEndsInTheLaterOne) {
  receive(filePacket("FLDnCare.sysFileList.sys", ""));

  EXPECT_TRUE(shared::dontCareMode);
  EXPECT_EQ(trace.entries(), Entries({"post START2RXDUNCARE"}));
}

TEST_F(TransferControl, EffectsComeBeforeTheFilesDataHasBeenRead) {
  const std::string packet = filePacket("kvXferStop.sys", "12345");

  receive(packet.substr(0, packet.size() - 9));  // neither data nor its length

  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "post RXCOMPLETE"}));
  EXPECT_FALSE(fs::exists(folder.target("kvXferStop.sys")));
}

TEST_F(TransferControl, EffectsComeEvenWhenTheNameIsRefusedLater) {
  receive(filePacket("../FLDnCare.sys", ""));

  EXPECT_TRUE(shared::dontCareMode);
  EXPECT_EQ(trace.entries(), Entries({"post START2RXDUNCARE", "sleep 5000", "post RXCOMPLETE"}));
}

TEST_F(TransferControl, ArchiveIsLoggedWithTheTimeItCame) {
  receive(filePacket("a.zip", "1") + filePacket("b.zip.part", "2") + filePacket("c.ZIP", "3"));

  EXPECT_EQ(readFile(folder.archiveLog()),
            "04:05:06\t07/03/2024 - a.zip Received thru LAN.)\r\n"
            "04:05:06\t07/03/2024 - b.zip.part Received thru LAN.)\r\n");
  EXPECT_EQ(readFile(folder.target("a.zip")), "1");
}

TEST_F(TransferControl, ArchiveLogThatCannotBeOpenedCostsItsLineOnly) {
  fs::create_directory(folder.archiveLog());

  receive(filePacket("a.zip", "1"));

  EXPECT_EQ(readFile(folder.target("a.zip")), "1");
}

TEST_F(TransferControl, RebootRequestIsStoredThenSyncedAnnouncedAndCarriedOut) {
  const std::string messages = receive(filePacket("Reboot.CFG", "now"));

  EXPECT_EQ(messages,
            "\nDataRxFileElement,fileAsciiName:Reboot.CFG\nGoing to reboot device......\n"
            "\nDataProcHeader<pos:0>:read 0 bytes, seems that socket was closed,disconnecting..."
            "\nData TCP port read err, Err RC:259");
  EXPECT_EQ(trace.entries(), kReboot);
  EXPECT_EQ(readFile(folder.target("Reboot.CFG")), "now");
}

TEST_F(TransferControl, RebootRequestCountsInTheDontCareModeToo) {
  shared::dontCareMode = true;

  receive(filePacket("reboot.cfg", ""));

  EXPECT_EQ(trace.entries(), kReboot);
}

TEST_F(TransferControl, NamesThatOnlyHoldTheRebootRequestDoNotReboot) {
  for (const char* name : {"xreboot.cfg", "reboot.cfg.bak", "./reboot.cfg", "reboot.cf"}) {
    receive(filePacket(name, "now"));
    EXPECT_TRUE(fs::exists(folder.target(name)));
  }
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(TransferControl, RebootRequestThatIsCutShortDoesNotReboot) {
  const std::string packet = filePacket("reboot.cfg", "now");

  receive(packet.substr(0, packet.size() - 1));

  EXPECT_EQ(trace.entries(), Entries());
  EXPECT_EQ(readFile(folder.target("reboot.cfg")), "no");
}

}  // namespace
}  // namespace quendal
