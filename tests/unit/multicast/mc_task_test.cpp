#include "multicast/mc_task.h"

#include "base/shared_state.h"
#include "multicast/multicast_state.h"
#include "support/eventually.h"
#include "support/fake_platform.h"
#include "support/loopback.h"
#include "support/occurrences.h"
#include "support/socket_faults.h"
#include "unit/multicast/mc_task_fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace quendal {
namespace {

TEST_F(McTaskTest, StopBeforeItsStartOpensNothing) {
  shared::stopReq = true;

  run({});

  EXPECT_EQ(capture.text(), kEnd);
  EXPECT_TRUE(shared::mcPaused);
}

TEST_F(McTaskTest, StopWhileWaitingTakesThePausePath) {
  shared::mcPauseReq = true;

  run({[] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kPaused + kEnd);
  EXPECT_EQ(fake::events().size(), 2U);
}

TEST_F(McTaskTest, CancellationEndsItWithTheStopFlagClear) {
  run({[&] {
    task.cancel();
    return true;
  }});

  EXPECT_EQ(capture.text(), kOpened + kPaused + kEnd);
}

TEST_F(McTaskTest, ReleaseOpensTheSocketAndPauseClosesIt) {
  shared::mcPauseReq = true;

  run({[] {
         shared::mcPauseReq = false;
         return true;
       },
       [] {
         EXPECT_FALSE(shared::mcPaused);
         shared::mcPauseReq = true;
         return true;
       },
       [&] {
         EXPECT_TRUE(shared::mcPaused);
         EXPECT_EQ(shared::mcSocket.impl()->sockfd(), POCO_INVALID_SOCKET);
         EXPECT_EQ(capture.text(), kOpened + kPaused);
         shared::mcPauseReq = false;
         return true;
       },
       stop()});

  EXPECT_EQ(capture.text(), kOpened + kPaused + kOpened + kPaused + kEnd);
}

TEST_F(McTaskTest, FailedReceiveIsReportedOnceASecond) {
  faults::failReceives(true);

  run({[] { return true; }, [] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + kNotReceived + kNotReceived + kNotReceived + kPaused + kEnd);
  EXPECT_EQ(fake::events().size(), 3U);
}

TEST_F(McTaskTest, RelaunchOpensTheSocketAnewOncePerQualifyingHour) {
  const std::string relaunch = "relauching mcast thread at hour:16...";
  shared::mcRstHrFactor = 4;

  run({[] { return true; },
       [] {
         fake::setNow(atHour(15));
         return true;
       },
       [] {
         fake::setNow(atHour(16));
         return true;
       },
       [] { return true; }, [] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + relaunch + kPaused + kOpened + kPaused + kEnd);
  EXPECT_EQ(shared::lastRelaunchHour, 16);
  EXPECT_EQ(shared::cycleDateTime.hour(), 16);
}

TEST_F(McTaskTest, StartDuringAQualifyingHourRelaunchesRightAfterTheFirstReceive) {
  shared::mcRstHrFactor = 1;

  run({[] { return true; }, stop()});

  EXPECT_EQ(capture.text(), kOpened + "relauching mcast thread at hour:13..." + kPaused + kOpened + kPaused + kEnd);
}

// MainTask closes the socket as soon as the task reports paused, and must never meet it in use: not even
// when its request falls into a relaunch, during which the task is paused for a moment as well.
TEST_F(McTaskTest, SocketStaysUntouchedWhileItIsPausedAlsoInTheMiddleOfRelaunches) {
  shared::mcRstHrFactor = 1;
  faults::failReceives(true);
  std::atomic<int> hour = 0;
  fake::onEvent([&](const std::string&) { fake::setNow(atHour(++hour % 24)); });
  std::thread mainTask([] {
    for (int cycle = 0; cycle < 300; ++cycle) {
      shared::mcPauseReq = true;
      while (!shared::mcPaused) {
        std::this_thread::yield();
      }
      shared::mcSocket.impl()->close();
      for (int look = 0; look < 20; ++look) {
        ASSERT_EQ(shared::mcSocket.impl()->sockfd(), POCO_INVALID_SOCKET) << cycle;
        std::this_thread::yield();
      }
      shared::mcPauseReq = false;
      ASSERT_TRUE(eventually([] { return !shared::mcPaused; }));
    }
    shared::stopReq = true;
  });

  task.runTask();
  mainTask.join();

  EXPECT_GE(occurrences(capture.text(), "relauching mcast thread"), 1U);
}

}  // namespace
}  // namespace quendal
