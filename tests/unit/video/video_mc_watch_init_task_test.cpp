#include "video/video_mc_watch_init_task.h"

#include "base/shared_state.h"
#include "network/network_state.h"
#include "support/error_stream_capture.h"
#include "support/failing_lock.h"
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
constexpr Poco::Timestamp::TimeVal kTenSeconds = 10'000'000;
const Poco::Timestamp kBegin(1'800'000'000'000'000);

// Runs the task through `cycles` cycles on an interface that does not exist, so that no capture opens;
// after each, `change` is called with its number (the first is 1). Returns the error stream.
std::string runFor(
    int cycles, const std::function<void(int)>& change = [](int) {}) {
  shared::netIfName = "nosuchlink0";
  fake::setNow(kBegin);
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

// An interface of another name cannot be opened for another reason, and that shows the attempt.
TEST(VideoCaptureInit, TheNextRequestTriesAgain) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(5, [](int cycle) {
    shared::netIfName = "nosuchlink1";
    shared::videoCaptureReopenReq = cycle == 3;
  });

  EXPECT_EQ(occurrences(errors, kOpenFailed), 2U) << errors;
}

TEST(VideoCaptureInit, AFailedOpenIsTriedAgainTenSecondsLaterAndNotBefore) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(6, [](int cycle) {
    shared::netIfName = "nosuchlink" + std::to_string(cycle);
    fake::setNow(kBegin + (cycle < 4 ? kTenSeconds - 1 : kTenSeconds));
  });

  EXPECT_EQ(occurrences(errors, kOpenFailed), 2U) << errors;
  EXPECT_NE(errors.find("nosuchlink4"), std::string::npos) << errors;
}

TEST(VideoCaptureInit, AFailedOpenIsTriedAgainAtOnceWhenTheClockIsSetBack) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(6, [](int cycle) {
    shared::netIfName = "nosuchlink" + std::to_string(cycle);
    fake::setNow(cycle < 4 ? kBegin : kBegin - 1);
  });

  EXPECT_EQ(occurrences(errors, kOpenFailed), 2U) << errors;
  EXPECT_NE(errors.find("nosuchlink4"), std::string::npos) << errors;
}

TEST(VideoCaptureInit, ManyFailuresForTheSameReasonAreOneMessage) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(100, [](int cycle) {
    fake::setNow(kBegin + cycle * kTenSeconds);
    shared::videoCaptureReopenReq = cycle % 7 == 0;
    shared::netIfName = cycle < 50 ? "nosuchlink0" : "nosuchlink1";
  });

  EXPECT_EQ(occurrences(errors, kOpenFailed), 2U) << errors;
}

TEST(VideoCaptureInit, WithTheLinkDownNothingIsTriedAgain) {
  shared::linkUp = true;
  shared::videoCaptureReopenReq = true;

  const std::string errors = runFor(5, [](int cycle) {
    shared::linkUp = false;
    shared::netIfName = "nosuchlink1";
    fake::setNow(kBegin + cycle * kTenSeconds);
  });

  EXPECT_EQ(occurrences(errors, kOpenFailed), 1U) << errors;
}

TEST(VideoCaptureInit, WithoutARequestNothingIsTriedAgainEither) {
  shared::linkUp = true;

  EXPECT_EQ(runFor(5, [](int cycle) { fake::setNow(kBegin + cycle * kTenSeconds); }), kStarting);
}

TEST(VideoCaptureInit, AnExceptionWithinACycleIsReportedAndTheCaptureIsOpenedTenSecondsLater) {
  shared::linkUp = true;

  const std::string errors = runFor(6, [](int cycle) {
    fake::setNow(kBegin + (cycle < 4 ? 0 : kTenSeconds));
    shared::videoCaptureReopenReq = cycle == 2;
    if (cycle == 2) {
      fake::failNextLock();
    }
  });

  const std::string report = "\nVideoMcWatchInitTask: Exception Met!\nException Message:Resource deadlock avoided";
  EXPECT_TRUE(errors.starts_with(kStarting + report + kOpenFailed)) << errors;
  EXPECT_EQ(occurrences(errors, kOpenFailed), 1U) << errors;
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

TEST(VideoCapture, ClosingAClosedOneDoesNothing) {
  VideoCapture capture;

  capture.close();

  EXPECT_FALSE(capture.isOpen());
}

}  // namespace
}  // namespace quendal
