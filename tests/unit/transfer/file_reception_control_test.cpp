// The control files that frame a transfer: modes, wake-ups with their waits, archive log, reboot.
#include "support/display_trace.h"
#include "support/fake_platform.h"
#include "support/file_stage.h"
#include "support/packet_builder.h"
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

class FileReceptionControl : public testing::Test {
 protected:
  FileReceptionControl() { fake::setNow(Poco::DateTime(2024, 3, 7, 4, 5, 6).timestamp()); }

  TransferFolder folder;
  DisplayTrace trace;
};

TEST_F(FileReceptionControl, NormalTransferWakesTheDisplayAtItsStopMarker) {
  receiveFiles(
      {fileElement("FileList.sys", "list"), fileElement("name", "data"), fileElement("kvXferStop.sys", "stop")});

  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "post RXCOMPLETE"}));
  for (const char* name : {"FileList.sys", "name", "kvXferStop.sys"}) {
    EXPECT_TRUE(fs::exists(folder.target(name))) << name;
  }
}

TEST_F(FileReceptionControl, DontCareTransferGoesToTheScratchDirectoryAndEndsWithoutAStart) {
  receiveFiles(
      {fileElement("FLDnCare.sys", "list"), fileElement("name", "data"), fileElement("kvXferStop.sys", "stop")});

  EXPECT_EQ(trace.entries(), Entries({"post START2RXDUNCARE", "sleep 5000", "post RXCOMPLETE"}));
  for (const char* name : {"FLDnCare.sys", "name", "kvXferStop.sys"}) {
    EXPECT_TRUE(fs::exists(folder.scratch(name))) << name;
    EXPECT_FALSE(fs::exists(folder.target(name))) << name;
  }
}

TEST_F(FileReceptionControl, ModeStaysFromConnectionToConnectionUntilAFileList) {
  receiveFiles({fileElement("FLDnCare.sys", "")});
  receiveFiles({fileElement("name", "data")});
  EXPECT_TRUE(shared::dontCareMode);
  receiveFiles({fileElement("FileList.sys", "")});

  EXPECT_FALSE(shared::dontCareMode);
  EXPECT_TRUE(fs::exists(folder.scratch("name")));
  EXPECT_TRUE(fs::exists(folder.target("FileList.sys")));
}

TEST_F(FileReceptionControl, NameWithBothModesEndsInTheLaterOne) {
  receiveFiles({fileElement("FLDnCare.sysFileList.sys", "")});

  EXPECT_TRUE(shared::dontCareMode);
  EXPECT_EQ(trace.entries(), Entries({"post START2RXDUNCARE"}));
}

TEST_F(FileReceptionControl, EffectsComeBeforeTheFilesDataHasBeenRead) {
  const std::string element = fileElement("kvXferStop.sys", "12345");

  receiveFiles({element.substr(0, element.size() - 9)});  // neither data nor its length

  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "post RXCOMPLETE"}));
  EXPECT_FALSE(fs::exists(folder.target("kvXferStop.sys")));
}

TEST_F(FileReceptionControl, EffectsComeEvenWhenTheNameIsRefusedLater) {
  receiveFiles({fileElement("../FLDnCare.sys", "")});

  EXPECT_TRUE(shared::dontCareMode);
  EXPECT_EQ(trace.entries(), Entries({"post START2RXDUNCARE", "sleep 5000", "post RXCOMPLETE"}));
}

TEST_F(FileReceptionControl, ArchiveIsLoggedWithTheTimeItCame) {
  receiveFiles({fileElement("a.zip", "1"), fileElement("b.zip.part", "2"), fileElement("c.ZIP", "3")});

  EXPECT_EQ(readFile(folder.archiveLog()),
            "04:05:06\t07/03/2024 - a.zip Received thru LAN.)\r\n"
            "04:05:06\t07/03/2024 - b.zip.part Received thru LAN.)\r\n");
  EXPECT_EQ(readFile(folder.target("a.zip")), "1");
}

TEST_F(FileReceptionControl, ArchiveLogThatCannotBeOpenedCostsItsLineOnly) {
  fs::create_directory(folder.archiveLog());

  receiveFiles({fileElement("a.zip", "1")});

  EXPECT_EQ(readFile(folder.target("a.zip")), "1");
}

TEST_F(FileReceptionControl, RebootRequestIsStoredThenSyncedAnnouncedAndCarriedOut) {
  const Received received = receiveFiles({fileElement("Reboot.CFG", "now")});

  EXPECT_EQ(received.messages, "\nDataRxFileElement,fileAsciiName:Reboot.CFG\nGoing to reboot device......\n");
  EXPECT_EQ(trace.entries(), kReboot);
  EXPECT_EQ(readFile(folder.target("Reboot.CFG")), "now");
}

TEST_F(FileReceptionControl, RebootRequestCountsInTheDontCareModeToo) {
  shared::dontCareMode = true;

  receiveFiles({fileElement("reboot.cfg", "")});

  EXPECT_EQ(trace.entries(), kReboot);
}

TEST_F(FileReceptionControl, NamesThatOnlyHoldTheRebootRequestDoNotReboot) {
  for (const char* name : {"xreboot.cfg", "reboot.cfg.bak", "./reboot.cfg", "reboot.cf"}) {
    receiveFiles({fileElement(name, "now")});
    EXPECT_TRUE(fs::exists(folder.target(name)));
  }
  EXPECT_EQ(trace.entries(), Entries());
}

TEST_F(FileReceptionControl, RebootRequestThatIsCutShortDoesNotReboot) {
  const std::string element = fileElement("reboot.cfg", "now");

  receiveFiles({element.substr(0, element.size() - 1)});

  EXPECT_EQ(trace.entries(), Entries());
  EXPECT_EQ(readFile(folder.target("reboot.cfg")), "no");
}

}  // namespace
}  // namespace quendal
