#include "video/video_mc_watch_init_task.h"

#include "base/shared_state.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/fake_platform.h"
#include "support/occurrences.h"
#include "video/video_capture.h"
#include "video/video_state.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace quendal {
namespace {

constexpr const char* kStarting = "\nVideo Mc Watch Init Task starting up...";
constexpr const char* kOpenFailed = "\npcap_open_live, err:";

// Runs the task through `cycles` cycles on an interface that does not exist, so that no capture opens;
// after each, `change` is called with its number (the first is 1). Returns the error stream.
std::string runFor(
    int cycles, const std::function<void(int)>& change = [](int) {}) {
  shared::netIfName = "nosuchlink0";
  const ErrorStreamCapture errors;
  VideoMcWatchInitTask task;
  int cycle = 0;
  fake::onEvent([&](const std::string& event) {
    EXPECT_EQ(event, "wait 100");
    ++cycle;
    change(cycle);
    if (cycle == cycles) {
      task.cancel();
    }
  });
  task.runTask();
  fake::onEvent(nullptr);
  return errors.text();
}

TEST(CaptureFilter, PassesMulticastToTheGroupOnly) {
  EXPECT_EQ(captureFilter("239.255.77.2"), "(ip multicast) and (dst 239.255.77.2)");
}

TEST(OnVideoPacket, AddsOneAndLooksAtNothing) {
  shared::videoPacketCount = 0xFFFFFFFFU;

  onVideoPacket(nullptr, nullptr, nullptr);
  EXPECT_EQ(shared::videoPacketCount, 0U);
  onVideoPacket(nullptr, nullptr, nullptr);
  EXPECT_EQ(shared::videoPacketCount, 1U);
}

TEST(VideoCaptureInit, WithoutARequestNothingIsOpened) {
  shared::linkUp = true;

  EXPECT_EQ(runFor(3), kStarting);
}

TEST(VideoCaptureInit, WithTheLinkDownARequestWaits) {
  shared::videoCaptureReopenReq = true;

  EXPECT_EQ(runFor(3), kStarting);
  EXPECT_TRUE(shared::videoCaptureReopenReq);
}

TEST(VideoCaptureInit, TheRequestIsServedOnceTheLinkIsUp) {
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(4, [](int cycle) {
    EXPECT_EQ(shared::videoCaptureReopenReq, cycle < 3);
    shared::linkUp = cycle == 2;
  });

  EXPECT_TRUE(errors.starts_with(std::string(kStarting) + kOpenFailed)) << errors;
}

TEST(VideoCaptureInit, AFailedOpenIsReportedOnceAndLeavesNoCapture) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(5);

  EXPECT_EQ(occurrences(errors, kOpenFailed), 1U) << errors;
  EXPECT_EQ(occurrences(errors, "\n"), 2U) << errors;
  EXPECT_GT(errors.size(), std::string(kStarting).size() + std::string(kOpenFailed).size());
  EXPECT_FALSE(videoCapture.isOpen());
}

TEST(VideoCaptureInit, TheNextRequestTriesAgain) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(5, [](int cycle) { shared::videoCaptureReopenReq = cycle == 3; });

  EXPECT_EQ(occurrences(errors, kOpenFailed), 2U) << errors;
}

TEST(VideoCaptureInit, EndsWithTheStopFlag) {
  runFor(5, [](int cycle) { shared::stopReq = cycle == 2; });

  EXPECT_EQ(fake::events().size(), 2U);
}

TEST(VideoCaptureInit, ACancellationBeforeItsStartEndsIt) {
  VideoMcWatchInitTask task;

  task.cancel();
  task.runTask();

  EXPECT_TRUE(fake::events().empty());
}

TEST(VideoCapture, BreakingAClosedOneDoesNothing) {
  VideoCapture capture;

  capture.breakLoop();
  capture.close();

  EXPECT_FALSE(capture.isOpen());
}

}  // namespace
}  // namespace quendal
