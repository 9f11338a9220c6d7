#include "video/video_mc_watch_task.h"

#include "base/guard.h"
#include "base/shared_state.h"
#include "ipc/semaphore_table.h"
#include "network/network_state.h"
#include "video/silence_rule.h"
#include "video/video_state.h"

namespace quendal {
namespace {

constexpr long kSampleMs = 1000;

}  // namespace

VideoMcWatchTask::VideoMcWatchTask() : ServiceTask("VideoMcWatchTask", shared::stopReq) {}

void VideoMcWatchTask::runTask() {
  while (!mustStop() && !sleepMs(kSampleMs)) {
    guard("VideoMcWatchTask: Exception Met!", [this] { watch(); });
  }
}

void VideoMcWatchTask::watch() {
  watchLink();
  if (shared::linkUp && shared::videoWatchEnabled) {
    watchOneSecond();
  }
}

// Once for each loss, which lasts for seconds. The request waits for the link-up.
void VideoMcWatchTask::watchLink() {
  const bool isUp = shared::linkUp;
  if (wasLinkUp_ && !isUp && shared::videoWatchEnabled) {
    shared::videoCaptureReopenReq = true;
  }
  wasLinkUp_ = isUp;
}

void VideoMcWatchTask::watchOneSecond() {
  const std::uint32_t count = shared::videoPacketCount;
  const StreamSample sample = sampleStream(previousCount_, count, shared::videoIdleSeconds);
  shared::videoPacketsPerSecond = sample.packetsPerSecond;
  shared::videoIdleSeconds = sample.idleSeconds;
  if (sample.silent) {
    postIpcSemaphore(kNetworkUtilityDown);
  }
  previousCount_ = count;
}

}  // namespace quendal
