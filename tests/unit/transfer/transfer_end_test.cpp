// What has to be on the disk before the display is told that a transfer is complete.
#include "transfer/transfer_end.h"

#include "base/shared_state.h"
#include "support/display_trace.h"
#include "support/fake_platform.h"
#include "support/packet_builder.h"
#include "support/served_connection.h"
#include "support/temporary_folder.h"
#include "support/transfer_folder.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"

#include <Poco/DateTime.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace quendal {
namespace {

using Entries = std::vector<std::string>;

const std::string kMarker = filePacket("kvXferStop.sys", "");
const std::string kRefused = filePacket("../name", "data");

class TransferEndTest : public testing::Test {
 protected:
  TransferEndTest() { fake::setNow(Poco::DateTime(2024, 3, 7, 4, 5, 6).timestamp()); }
  ~TransferEndTest() override {
    held = false;
    finishWriting();
    fake::onSync(nullptr);
  }

  // Nothing is written back behind the test's end.
  static void finishWriting() {
    shared::writeBack.await(shared::writeBack.request(), WriteBack::TimePoint::max(), [] { return false; });
  }

  static std::string receive(const std::string& bytes) {
    ServedConnection connection;
    connection.send(bytes);
    connection.closeSending();
    return connection.runUntilFailure();
  }

  // Each sync tells how often RXCOMPLETE has been posted by then, and what stands in the target's "name".
  void watchSyncs() {
    fake::onSync([this](int /*descriptor*/) {
      const Entries entries = trace.entries();
      const std::scoped_lock lock(mutex);
      completeAtSync = std::count(entries.begin(), entries.end(), "post RXCOMPLETE");
      dataAtSync = readFile(folder.target("name")) + readFile(folder.scratch("name"));
      return 0;
    });
  }

  void holdDisk() {
    held = true;
    fake::onSync([this](int /*descriptor*/) {
      while (held) {
        std::this_thread::yield();
      }
      return 0;
    });
  }

  std::atomic<bool> held = false;
  std::mutex mutex;
  std::ptrdiff_t completeAtSync = -1;
  std::string dataAtSync;
  TransferFolder folder;
  DisplayTrace trace;
};

TEST_F(TransferEndTest, TheDiskHasTheFilesBeforeTheDisplayIsToldOfTheirEnd) {
  watchSyncs();

  receive(filePacket("name", "data") + kMarker);

  EXPECT_EQ(trace.entries(), Entries({"post START2RX", "sleep 5000", "post RXCOMPLETE"}));
  const std::scoped_lock lock(mutex);
  EXPECT_EQ(completeAtSync, 0);
  EXPECT_EQ(dataAtSync, "data");
}

TEST_F(TransferEndTest, TheDiskHasTheFilesOfADontCareTransferToo) {
  watchSyncs();

  receive(filePacket("FLDnCare.sys", "") + filePacket("name", "data") + kMarker);

  const std::scoped_lock lock(mutex);
  EXPECT_EQ(completeAtSync, 0);
  EXPECT_EQ(dataAtSync, "data");
}

TEST_F(TransferEndTest, TheDiskHasTheFilesBeforeAFailedTransferReleasesTheDisplay) {
  watchSyncs();

  receive(filePacket("name", "data") + kRefused);

  EXPECT_EQ(trace.entries(), Entries({"sleep 5000", "post RXCOMPLETE"}));
  const std::scoped_lock lock(mutex);
  EXPECT_EQ(completeAtSync, 0);
  EXPECT_EQ(dataAtSync, "data");
}

TEST_F(TransferEndTest, FilesOfAnEarlierConnectionCountToo) {
  receive(filePacket("name", "data"));
  watchSyncs();

  receive(kMarker);

  const std::scoped_lock lock(mutex);
  EXPECT_EQ(completeAtSync, 0);
  EXPECT_EQ(dataAtSync, "data");
}

TEST_F(TransferEndTest, TheArchiveLogIsWrittenBackWhereverItIs) {
  struct stat log {};
  ASSERT_EQ(stat("..", &log), 0);
  std::atomic<dev_t> synced = 0;
  fake::onSync([&synced](int descriptor) {
    struct stat status {};
    fstat(descriptor, &status);
    synced = status.st_dev;
    return 0;
  });

  receive(filePacket("../a.zip", "data"));  // refused, so that the log is all that has been written

  EXPECT_EQ(synced, log.st_dev);
}

TEST_F(TransferEndTest, AnErrorOfTheDiskIsALineAndTheDisplayIsTold) {
  fake::onSync([](int /*descriptor*/) { return EIO; });

  const std::string messages = receive(filePacket("name", "data") + kMarker);

  EXPECT_NE(messages.find("\nReceived files cannot be written to the disk: " + shared::targetRootDir +
                          "/: Input/output error"),
            std::string::npos)
      << messages;
  EXPECT_EQ(trace.entries().back(), "post RXCOMPLETE");
}

TEST_F(TransferEndTest, ADiskThatHasNotFinishedAtAStopOrPauseIsNotWaitedForAnyLonger) {
  for (Flag* flag : {&shared::dataStopReq, &shared::dataPauseReq}) {
    holdDisk();
    trace.onEvent([flag](const std::string& event) { *flag = event == "sleep 5000"; });

    const std::string messages = receive(filePacket("name", "data") + kMarker);

    EXPECT_NE(messages.find("\nReceived files are not on the disk after 0 s, the display is told all the same"),
              std::string::npos)
        << messages;
    EXPECT_EQ(trace.entries().back(), "post RXCOMPLETE");
    held = false;
    *flag = false;
  }
}

}  // namespace
}  // namespace quendal
