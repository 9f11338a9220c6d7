#include "video/video_mc_watch_init_task.h"

#include "base/console.h"
#include "base/guard.h"
#include "base/platform.h"
#include "base/retry.h"
#include "base/shared_state.h"
#include "network/network_state.h"
#include "video/video_capture.h"
#include "video/video_state.h"

namespace quendal {
namespace {

constexpr long kCycleMs = 100;

}  // namespace

VideoMcWatchInitTask::VideoMcWatchInitTask() : ServiceTask("VideoMcWatchInitTask", shared::stopReq) {}

void VideoMcWatchInitTask::runTask() {
  console::line("Video Mc Watch Init Task starting up...");
  while (!mustStop()) {
    if (shared::linkUp) {
      guard("VideoMcWatchInitTask: Exception Met!", [this] { serveCapture(); });
    }
    sleepMs(kCycleMs);
  }
  videoCapture.close();
}

void VideoMcWatchInitTask::serveCapture() {
  if (shared::videoCaptureReopenReq.exchange(false) || isOpeningDue()) {
    openCapture();
  }
  const auto isOver = [this] { return mustStop() || shared::videoCaptureReopenReq; };
  if (shared::linkUp && videoCapture.isOpen() && !videoCapture.run(isOver)) {
    videoCapture.close();
  }
}

bool VideoMcWatchInitTask::isOpeningDue() const {
  return isWanted_ && !videoCapture.isOpen() && isRetryDue(lastOpening_, platform::now());
}

void VideoMcWatchInitTask::openCapture() {
  isWanted_ = true;
  lastOpening_ = platform::now();
  videoCapture.open(shared::netIfName, shared::videoMcAddress);
}

}  // namespace quendal
