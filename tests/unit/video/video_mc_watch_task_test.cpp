#include "video/video_mc_watch_task.h"

#include "base/shared_state.h"
#include "network/network_state.h"
#include "support/fake_platform.h"
#include "support/semaphore_set.h"
#include "video/video_state.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace quendal {
namespace {

// Runs the task through `seconds` one-second waits; before the sample that follows wait number n (the
// first is 1), `change` is called with n.
void watchFor(
    int seconds, const std::function<void(int)>& change = [](int) {}) {
  VideoMcWatchTask task;
  int second = 0;
  fake::onEvent([&](const std::string& event) {
    EXPECT_EQ(event, "wait 1000");
    ++second;
    if (second > seconds) {
      task.cancel();
    } else {
      change(second);
    }
  });
  task.runTask();
  fake::onEvent(nullptr);
}

class VideoWatch : public testing::Test {
 protected:
  VideoWatch() {
    shared::linkUp = true;
    shared::videoWatchEnabled = true;
  }

  SemaphoreSet streamGone{"TORVA_G_IPC_SEM_NETW_UTIL_DN"};
};

TEST_F(VideoWatch, PostsNothingInThirtySilentSeconds) {
  watchFor(30);

  EXPECT_EQ(streamGone.value(), 0);
  EXPECT_EQ(shared::videoIdleSeconds, 30U);
}

TEST_F(VideoWatch, PostsInTheThirtyFirstSilentSecondAndBeginsAnew) {
  watchFor(31);

  EXPECT_EQ(streamGone.value(), 1);
  EXPECT_EQ(shared::videoIdleSeconds, 0U);
}

TEST_F(VideoWatch, PostsAgainEveryThirtyOneSilentSeconds) {
  std::vector<int> secondsOfPosts;

  watchFor(125, [&](int second) {
    while (streamGone.take()) {
      secondsOfPosts.push_back(second - 1);
    }
  });

  EXPECT_EQ(secondsOfPosts, (std::vector<int>{31, 62, 93, 124}));
}

TEST_F(VideoWatch, StoresThePacketsOfEachSecond) {
  std::vector<std::uint32_t> rates;

  watchFor(4, [&](int second) {
    rates.push_back(shared::videoPacketsPerSecond);
    shared::videoPacketCount += static_cast<std::uint32_t>(second == 3 ? 0 : 4750 * second);
  });
  rates.push_back(shared::videoPacketsPerSecond);

  EXPECT_EQ(rates, (std::vector<std::uint32_t>{0, 4750, 9500, 0, 19000}));
}

TEST_F(VideoWatch, ASinglePacketEndsTheIdleTime) {
  watchFor(60, [](int second) {
    if (second == 30) {
      ++shared::videoPacketCount;
    }
  });

  EXPECT_EQ(streamGone.value(), 0);
  EXPECT_EQ(shared::videoIdleSeconds, 30U);
}

TEST_F(VideoWatch, ACounterThatWrapsCountsFromZero) {
  watchFor(2, [](int second) { shared::videoPacketCount = second == 1 ? 0xFFFFFFF0U : 5U; });

  EXPECT_EQ(shared::videoPacketsPerSecond, 5U);
  EXPECT_EQ(shared::videoIdleSeconds, 0U);
}

TEST_F(VideoWatch, WithTheLinkDownNothingIsCountedOrPosted) {
  shared::linkUp = false;
  shared::videoIdleSeconds = 30;
  shared::videoPacketsPerSecond = 4750;

  watchFor(100, [](int) { shared::videoPacketCount += 10; });

  EXPECT_EQ(streamGone.value(), 0);
  EXPECT_EQ(shared::videoIdleSeconds, 30U);
  EXPECT_EQ(shared::videoPacketsPerSecond, 4750U);
}

TEST_F(VideoWatch, SwitchedOffNothingIsCountedOrPosted) {
  shared::videoWatchEnabled = false;

  watchFor(100);

  EXPECT_EQ(streamGone.value(), 0);
  EXPECT_EQ(shared::videoIdleSeconds, 0U);
}

TEST_F(VideoWatch, ALinkLossInterruptsTheIdleTimeWithoutEndingIt) {
  watchFor(41, [](int second) { shared::linkUp = second <= 20 || second > 30; });

  EXPECT_EQ(streamGone.value(), 1);
  EXPECT_EQ(shared::videoIdleSeconds, 0U);
}

TEST_F(VideoWatch, PacketsOfALinkLossBelongToTheFirstSecondAfterIt) {
  watchFor(3, [](int second) {
    shared::videoPacketCount += 100;
    shared::linkUp = second == 3;
  });

  EXPECT_EQ(shared::videoPacketsPerSecond, 300U);
}

TEST_F(VideoWatch, WithoutADisplayTheSilenceStartsAnewAllTheSame) {
  streamGone.remove();

  watchFor(31);

  EXPECT_EQ(shared::videoIdleSeconds, 0U);
}

TEST_F(VideoWatch, AsksForAFreshCaptureOnceForEachLossOfTheLink) {
  std::vector<int> requests;

  watchFor(12, [&](int second) {
    if (shared::videoCaptureReopenReq.exchange(false)) {
      requests.push_back(second - 1);
    }
    shared::linkUp = second != 3 && second != 4 && second < 9;
  });

  EXPECT_EQ(requests, (std::vector<int>{3, 9}));
}

TEST_F(VideoWatch, FirstLinkUpIsNoLoss) {
  shared::linkUp = false;

  watchFor(5, [](int second) { shared::linkUp = second >= 3; });

  EXPECT_FALSE(shared::videoCaptureReopenReq);
}

TEST_F(VideoWatch, SwitchedOffItAsksForNoCapture) {
  shared::videoWatchEnabled = false;

  watchFor(5, [](int second) { shared::linkUp = second < 3; });

  EXPECT_FALSE(shared::videoCaptureReopenReq);
}

TEST_F(VideoWatch, EndsWithTheStopFlag) {
  watchFor(5, [](int second) { shared::stopReq = second == 2; });

  EXPECT_EQ(fake::events().size(), 2U);
}

TEST_F(VideoWatch, ACancelledWaitIsNoSecond) {
  watchFor(0);

  EXPECT_EQ(shared::videoIdleSeconds, 0U);
}

}  // namespace
}  // namespace quendal
