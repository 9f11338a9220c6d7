#include "video/video_mc_watch_task.h"

#include "app/shared_state.h"

namespace quendal {
namespace {

constexpr long kFlagPollMs = 1000;

}  // namespace

VideoMcWatchTask::VideoMcWatchTask() : ServiceTask("VideoMcWatchTask") {}

void VideoMcWatchTask::runTask() {
  while (!shared::stopReq && !sleepMs(kFlagPollMs)) {
  }
}

VideoMcWatchInitTask::VideoMcWatchInitTask() : ServiceTask("VideoMcWatchInitTask") {}

void VideoMcWatchInitTask::runTask() {
  while (!shared::stopReq && !sleepMs(kFlagPollMs)) {
  }
}

}  // namespace quendal
