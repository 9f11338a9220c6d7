#include "base/pause_handshake.h"

#include "support/fake_platform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quendal {
namespace {

class PausedTask : public PausableTask {
 public:
  using PausableTask::awaitRelease;
  using PausableTask::mustPause;
  using PausableTask::reportPaused;

  PausedTask(const Flag& stopReq, const PauseFlags& flags) : PausableTask("PausedTask", stopReq, flags) {}
  void runTask() override {}
};

class PauseHandshake : public testing::Test {
 protected:
  Flag stopReq = false;
  Flag request = true;
  Flag paused = true;
  PausedTask task{stopReq, {.request = request, .paused = paused}};
};

TEST_F(PauseHandshake, ReleasedTaskTakesOverWithoutWaiting) {
  request = false;

  EXPECT_TRUE(task.awaitRelease());

  EXPECT_FALSE(paused);
  EXPECT_EQ(fake::events(), std::vector<std::string>());
}

TEST_F(PauseHandshake, PausedTaskLooksOnceASecond) {
  fake::onEvent([this](const std::string&) {
    EXPECT_TRUE(paused) << "nothing is taken over before the release";
    request = fake::events().size() < 3;
  });

  EXPECT_TRUE(task.awaitRelease());

  EXPECT_EQ(fake::events(), (std::vector<std::string>{"wait 1000", "wait 1000", "wait 1000"}));
  EXPECT_FALSE(paused);
}

TEST_F(PauseHandshake, StopEndsTheWaitAndNothingIsTakenOver) {
  fake::onEvent([this](const std::string&) { stopReq = true; });

  EXPECT_FALSE(task.awaitRelease());

  EXPECT_TRUE(paused);
}

TEST_F(PauseHandshake, CancellationEndsTheWait) {
  task.cancel();

  EXPECT_FALSE(task.awaitRelease());

  EXPECT_TRUE(paused);
}

TEST_F(PauseHandshake, RequestIsSeenByTheTaskAndTheReportByTheOneWhoAsked) {
  request = false;
  ASSERT_TRUE(task.awaitRelease());
  int polls = 0;

  pauseTask({.request = request, .paused = paused}, [&] {
    EXPECT_TRUE(task.mustPause());
    if (++polls == 2) {
      task.reportPaused();
    }
  });

  EXPECT_EQ(polls, 2);
  EXPECT_TRUE(paused);
}

TEST_F(PauseHandshake, TaskThatIsPausedAlreadyIsNotWaitedFor) {
  pauseTask({.request = request, .paused = paused}, [] { FAIL() << "polled"; });
}

TEST_F(PauseHandshake, ReleaseClearsTheRequest) {
  releaseTask({.request = request, .paused = paused});

  EXPECT_FALSE(task.mustPause());
}

}  // namespace
}  // namespace quendal
