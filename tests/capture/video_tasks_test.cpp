// Both watch tasks together on real packets and in real time.

#include "capture/capture_network.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/eventually.h"
#include "video/video_mc_watch_init_task.h"
#include "video/video_mc_watch_task.h"
#include "video/video_source.h"
#include "video/video_state.h"

#include <Poco/TaskManager.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace quendal {
namespace {

constexpr const char* kStarting = "\nVideo Mc Watch Init Task starting up...";

class VideoTasks : public testing::Test {
 protected:
  void SetUp() override {
    plugCable();
    shared::netIfName = kWatchedInterface;
    shared::linkUp = true;
    watchVideoStream(kGroup);
    tasks.start(new VideoMcWatchTask);
    tasks.start(new VideoMcWatchInitTask);
    expectCounted(kGroup);
  }

  void TearDown() override {
    tasks.cancelAll();
    tasks.joinAll();
    removeCable();
  }

  // Sends until a packet counts: the capture comes into force only a moment after its message.
  static void expectCounted(const std::string& group) {
    const std::uint32_t before = shared::videoPacketCount;
    EXPECT_TRUE(eventually([&] {
      StreamSender().send(group, 1);
      return shared::videoPacketCount > before;
    }));
  }

  static bool isLate(std::chrono::steady_clock::time_point begin) {
    return std::chrono::steady_clock::now() - begin > std::chrono::seconds(15);
  }

  ErrorStreamCapture errors;
  Poco::TaskManager tasks;
};

TEST_F(VideoTasks, CountTheStream) {
  EXPECT_TRUE(eventually([] { return shared::videoPacketsPerSecond > 0; }));
}

TEST_F(VideoTasks, EndAtOnceOnASilentInterface) {
  const auto begin = std::chrono::steady_clock::now();

  tasks.cancelAll();
  tasks.joinAll();

  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

TEST_F(VideoTasks, NoticeARequestToReopenInASilentCapture) {
  shared::videoMcAddress = kOtherGroup;
  shared::videoCaptureReopenReq = true;

  ASSERT_TRUE(errors.waitFor(std::string(kOpened) + kOpened)) << errors.text();
  expectCounted(kOtherGroup);
  EXPECT_EQ(errors.text(), std::string(kStarting) + kOpened + kOpened);
}

TEST_F(VideoTasks, CountAgainOnceTheInterfaceIsBackAlsoWhileTheLinkCountsAsUp) {
  const auto begin = std::chrono::steady_clock::now();
  removeCable();
  plugCable();

  // Ten seconds after the last opening.
  while (errors.text() == std::string(kStarting) + kOpened && !isLate(begin)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }

  EXPECT_EQ(errors.text(), std::string(kStarting) + kOpened + kOpened);
  expectCounted(kGroup);
}

TEST_F(VideoTasks, OpenTheCaptureAnewAtTheNextLinkUp) {
  ASSERT_TRUE(eventually([] { return shared::videoPacketsPerSecond > 0; })) << "the link has been seen up";
  shared::linkUp = false;
  ASSERT_TRUE(eventually([] { return shared::videoCaptureReopenReq.load(); }));
  removeCable();
  plugCable();
  EXPECT_EQ(errors.text(), std::string(kStarting) + kOpened) << "not before";

  shared::linkUp = true;

  ASSERT_TRUE(errors.waitFor(std::string(kOpened) + kOpened)) << errors.text();
  expectCounted(kGroup);
}

TEST_F(VideoTasks, EndAtOnceWhileTheInterfaceIsAway) {
  removeCable();

  tasks.cancelAll();
  tasks.joinAll();

  EXPECT_EQ(errors.text(), std::string(kStarting) + kOpened);
}

}  // namespace
}  // namespace quendal
