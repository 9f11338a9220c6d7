// Transfers with storeMode staged: what is to be seen of them, and when.
#include "base/shared_state.h"
#include "support/display_trace.h"
#include "support/fake_platform.h"
#include "support/packet_builder.h"
#include "support/served_connection.h"
#include "support/temporary_folder.h"
#include "support/transfer_folder.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace quendal {
namespace {

namespace fs = std::filesystem;
using Entries = std::vector<std::string>;

const std::string kList = filePacket("FileList.sys", "list");
const std::string kName = filePacket("name", "new");
const std::string kMarker = filePacket("kvXferStop.sys", "stop");
const std::string kFailed = "\nDataRxFileElement<pos:3>:: Exception Met!\nException Message:";

class StagedTransfer : public testing::Test {
 protected:
  StagedTransfer() {
    shared::stagedTransfers = true;
    folder.writeTarget("name", "old");
  }

  ~StagedTransfer() override {
    held = false;
    shared::staging.discard();
    shared::writeBack.await(shared::writeBack.request(), WriteBack::TimePoint::max(), [] { return false; });
    fake::onSync(nullptr);
  }

  static std::string receive(const std::string& bytes) {
    ServedConnection connection;
    connection.send(bytes);
    connection.closeSending();
    return connection.runUntilFailure();
  }

  // What stands in the target's "name" during each event of the platform.
  void watchName() {
    trace.onEvent([this](const std::string& event) { seen.push_back(event + ": " + name()); });
  }

  std::string name() const { return readFile(folder.target("name")); }
  bool isStagingFolderGone() const { return !fs::exists(folder.target(".quendal-staged")); }

  std::atomic<bool> held = false;
  Entries seen;
  TransferFolder folder;
  DisplayTrace trace;
};

TEST_F(StagedTransfer, FilesAreInPlaceBehindTheWaitAndBeforeTheDisplayIsToldOfTheirEnd) {
  watchName();

  receive(kList + kName + kMarker);

  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "post RXCOMPLETE"}));
  EXPECT_EQ(seen, Entries({"sleep 5000: old"}));
  EXPECT_EQ(name(), "new");
  EXPECT_EQ(readFile(folder.target("FileList.sys")), "list");
  EXPECT_EQ(readFile(folder.target("kvXferStop.sys")), "stop");
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagedTransfer, TheFilesAreOnTheDiskBeforeTheyArePutIntoPlace) {
  std::string nameAtSync;
  std::string collectedAtSync;
  fake::onSync([&](int /*descriptor*/) {
    nameAtSync = name();
    collectedAtSync = readFile(folder.target(".quendal-staged/1"));
    return 0;
  });

  receive(kList + kName + kMarker.substr(0, kMarker.size() - 8));  // of the marker nothing is stored

  EXPECT_EQ(nameAtSync + "/" + collectedAtSync, "old/new");
  EXPECT_EQ(name(), "new");
}

TEST_F(StagedTransfer, WithoutItsEndNothingOfItIsSeen) {
  receive(kList + kName);

  EXPECT_EQ(name(), "old");
  EXPECT_FALSE(fs::exists(folder.target("FileList.sys")));
  EXPECT_EQ(shared::staging.discard(), 2U);
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagedTransfer, AFileThatIsCutShortIsNoPartOfIt) {
  receive(kList + kName + filePacket("other", "data").substr(0, filePacket("other", "data").size() - 1));

  EXPECT_EQ(shared::staging.discard(), 2U);
  EXPECT_FALSE(fs::exists(folder.target("other")));
}

TEST_F(StagedTransfer, ANameIsRefusedAsItComesAndInTheSameWords) {
  fs::create_directory(folder.target("dir"));
  for (const auto& [refused, text] :
       {std::pair<std::string, std::string>("../x", "Invalid access: a file name must not lead upwards: ../x"),
        {"dir", "Invalid access: a file name must not stand for a directory: dir"},
        {"none/x", "File not found: " + folder.target("none/") + ": No such file or directory"},
        {".quendal-staged/0",
         "Invalid access: a file name must not lead into the folder of staged files: .quendal-staged/0"}}) {
    const std::string messages = receive(kList + kName + filePacket(refused, "data") + kMarker);

    EXPECT_NE(messages.find(kFailed + text + "\nData TCP port read err, Err RC:1537"), std::string::npos) << messages;
    EXPECT_EQ(name(), "old");
  }
}

TEST_F(StagedTransfer, ANameThatLeadsIntoTheFolderIsRefusedOutsideATransferToo) {
  const std::string messages = receive(filePacket(".quendal-staged", "data"));

  EXPECT_NE(messages.find(kFailed + "Invalid access: a file name must not lead into the folder of staged files"),
            std::string::npos);
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagedTransfer, ANewListFileThrowsAwayWhatCameBefore) {
  receive(kList + kName + kList + filePacket("other", "data") + kMarker);

  EXPECT_EQ(name(), "old");
  EXPECT_EQ(readFile(folder.target("other")), "data");
}

TEST_F(StagedTransfer, ADontCareTransferIsDirectAndThrowsAwayWhatCameBefore) {
  receive(kList + kName + filePacket("FLDnCare.sys", "") + filePacket("other", "data"));
  EXPECT_EQ(readFile(folder.scratch("other")), "data");
  EXPECT_TRUE(isStagingFolderGone());

  receive(kMarker);

  EXPECT_EQ(name(), "old");
}

TEST_F(StagedTransfer, FilesOutsideATransferAreDirect) {
  receive(kName);
  EXPECT_EQ(name(), "new");

  receive(kList + kMarker + filePacket("other", "data"));
  EXPECT_EQ(readFile(folder.target("other")), "data");
}

TEST_F(StagedTransfer, WithoutTheKeyTransfersAreDirect) {
  shared::stagedTransfers = false;

  receive(kList + kName);

  EXPECT_EQ(name(), "new");
}

TEST_F(StagedTransfer, ARebootRequestEndsItAndIsAPartOfIt) {
  watchName();

  receive(kList + kName + filePacket("reboot.cfg", "now"));

  EXPECT_EQ(seen, Entries({"run sudo sync: new", "sleep 3000: new", "run sudo systemctl reboot -i: new"}));
  EXPECT_EQ(readFile(folder.target("reboot.cfg")), "now");
  EXPECT_EQ(name(), "new");
}

TEST_F(StagedTransfer, ADiskThatFailsIsAFailedStoreAndKeepsTheOldSet) {
  fake::onSync([](int /*descriptor*/) { return EIO; });

  const std::string messages = receive(kList + kName + kMarker);

  EXPECT_NE(messages.find(kFailed + "Cannot write file: the disk has failed during the transfer"
                                    "\nData TCP port read err, Err RC:1537"),
            std::string::npos)
      << messages;
  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "sleep 5000", "post RXCOMPLETE"}));
  EXPECT_EQ(name(), "old");
  EXPECT_TRUE(isStagingFolderGone());
}

TEST_F(StagedTransfer, ADiskThatHasNotFinishedAtAStopKeepsTheOldSetAndIsSaidSoOnce) {
  held = true;
  fake::onSync([this](int /*descriptor*/) {
    while (held) {
      std::this_thread::yield();
    }
    return 0;
  });
  trace.onEvent([](const std::string& /*event*/) { shared::dataStopReq = true; });

  const std::string messages = receive(kList + kName + kMarker);

  EXPECT_NE(messages.find("\nReceived files are not on the disk after 0 s, the display is told all the same" + kFailed +
                          "Timeout: the staged files are not on the disk\nData TCP port read err, Err RC:1537"),
            std::string::npos)
      << messages;
  EXPECT_EQ(trace.entries().back(), "post RXCOMPLETE");
  EXPECT_EQ(name(), "old");
}

}  // namespace
}  // namespace quendal
