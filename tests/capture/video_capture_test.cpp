// The capture on real packets. The kernel hands a few packets over only after its one-second time-out,
// so a test that waits for one takes about that long.

#include "video/video_capture.h"

#include "capture/capture_network.h"
#include "support/error_stream_capture.h"
#include "support/eventually.h"
#include "support/failing_eventfd.h"
#include "video/video_state.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <future>
#include <thread>

namespace quendal {
namespace {

using namespace std::chrono_literals;

class VideoCaptureOnACable : public testing::Test {
 protected:
  void SetUp() override {
    plugCable();
    shared::videoPacketCount = 0;
  }
  void TearDown() override { removeCable(); }

  // The owner's part, on a thread of its own; the result is run's.
  std::future<bool> openAndRun() {
    capture.open(kWatchedInterface, kGroup);
    return std::async(std::launch::async, [this] { return run(); });
  }

  bool run() {
    return capture.run([this] { return isOver.load(); });
  }

  // The thread is then waiting for the next packet.
  void awaitCount(std::uint32_t count) {
    ASSERT_TRUE(eventually([=] { return shared::videoPacketCount == count; })) << shared::videoPacketCount;
  }

  VideoCapture capture;
  std::atomic<bool> isOver = false;
};

TEST_F(VideoCaptureOnACable, CountsEveryPacketToTheGroupAndNoOther) {
  std::future<bool> running = openAndRun();
  const StreamSender sender;

  // No more than the capture's buffer holds, so that a busy machine loses none either.
  for (int round = 0; round < 100; ++round) {
    sender.send(kOtherGroup, 3);
    sender.send(kGroup, 20);
    sender.send("192.0.2.1", 3);
  }

  awaitCount(2000);
  sender.send(kOtherGroup, 100);
  sender.send(kGroup, 1);
  awaitCount(2001);
  isOver = true;
  EXPECT_TRUE(running.get());
}

TEST_F(VideoCaptureOnACable, ItEndsWhileNoPacketComes) {
  std::future<bool> running = openAndRun();
  StreamSender().send(kGroup, 1);
  awaitCount(1);

  isOver = true;

  ASSERT_EQ(running.wait_for(500ms), std::future_status::ready);
  EXPECT_TRUE(running.get());
  EXPECT_TRUE(capture.isOpen());
}

TEST_F(VideoCaptureOnACable, RunThatIsOverBeforeItBeginsCountsNothing) {
  capture.open(kWatchedInterface, kGroup);
  isOver = true;

  EXPECT_TRUE(run());
}

TEST_F(VideoCaptureOnACable, ItRunsOnAndCountsWhatCameMeanwhile) {
  std::future<bool> first = openAndRun();
  isOver = true;
  EXPECT_TRUE(first.get());

  StreamSender().send(kGroup, 10);
  isOver = false;
  std::future<bool> running = std::async(std::launch::async, [this] { return run(); });
  awaitCount(10);
  isOver = true;
  EXPECT_TRUE(running.get());
}

TEST_F(VideoCaptureOnACable, EndsAlsoWhenTheLibraryHadNoDescriptorToBeWokenBy) {
  fake::failEventfd(true);
  std::future<bool> running = openAndRun();
  EXPECT_EQ(fake::failedEventfds(), 1);

  isOver = true;

  ASSERT_EQ(running.wait_for(500ms), std::future_status::ready);
  EXPECT_TRUE(running.get());
}

TEST_F(VideoCaptureOnACable, WaitsWithoutSpinningWhileTheInterfaceIsDown) {
  std::future<bool> running = openAndRun();
  runIp("link set watch0 down");
  const std::clock_t before = std::clock();

  std::this_thread::sleep_for(1s);

  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
  isOver = true;
  EXPECT_TRUE(running.get());
}

TEST_F(VideoCaptureOnACable, ALinkThatIsDownIsWaitedFor) {
  std::future<bool> running = openAndRun();
  runIp("link set sender0 down");
  runIp("link set watch0 down");
  runIp("link set watch0 up");
  runIp("link set sender0 up");

  StreamSender().send(kGroup, 1);

  awaitCount(1);
  isOver = true;
  EXPECT_TRUE(running.get());
}

TEST_F(VideoCaptureOnACable, ItEndsWhileTheInterfaceIsDown) {
  std::future<bool> running = openAndRun();
  runIp("link set watch0 down");

  isOver = true;

  ASSERT_EQ(running.wait_for(500ms), std::future_status::ready);
  EXPECT_TRUE(running.get());
}

TEST_F(VideoCaptureOnACable, FailsWhenTheInterfaceGoes) {
  std::future<bool> running = openAndRun();

  removeCable();

  ASSERT_EQ(running.wait_for(5s), std::future_status::ready);
  EXPECT_FALSE(running.get());
  EXPECT_FALSE(run()) << "and again when it is tried again";
}

TEST_F(VideoCaptureOnACable, ReportsWhatItHasOpened) {
  const ErrorStreamCapture errors;

  capture.open(kWatchedInterface, kGroup);

  EXPECT_TRUE(capture.isOpen());
  EXPECT_EQ(errors.text(), kOpened);
}

TEST_F(VideoCaptureOnACable, AFilterThatDoesNotCompileIsReportedAndLeavesNoCapture) {
  capture.open(kWatchedInterface, kGroup);
  const ErrorStreamCapture errors;

  capture.open(kWatchedInterface, "");

  EXPECT_FALSE(capture.isOpen());
  EXPECT_EQ(errors.text(), std::string(kOpened) + "\npcap_compile, err:can't parse filter expression: syntax error");
}

TEST_F(VideoCaptureOnACable, AFailureIsReportedAgainOnlyOnceAnOpenHasWorkedOrTheReasonIsAnother) {
  const std::string failed = "\npcap_open_live, err:nosuchlink0: No such device exists (No such device exists)";
  const std::string noFilter = std::string(kOpened) + "\npcap_compile, err:can't parse filter expression: syntax error";
  const ErrorStreamCapture errors;

  for (int attempt = 0; attempt < 3; ++attempt) {
    capture.open("nosuchlink0", kGroup);
  }
  for (int attempt = 0; attempt < 3; ++attempt) {
    capture.open(kWatchedInterface, "");
  }
  capture.open(kWatchedInterface, kGroup);
  capture.open("nosuchlink0", kGroup);

  EXPECT_EQ(errors.text(), failed + noFilter + kOpened + failed);
}

TEST_F(VideoCaptureOnACable, AFailedOpenClosesTheFormerCaptureToo) {
  capture.open(kWatchedInterface, kGroup);
  const ErrorStreamCapture errors;

  capture.open("nosuchlink0", kGroup);

  EXPECT_FALSE(capture.isOpen());
  EXPECT_EQ(errors.text(), "\npcap_open_live, err:nosuchlink0: No such device exists (No such device exists)");
}

}  // namespace
}  // namespace quendal
