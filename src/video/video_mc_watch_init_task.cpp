#include "video/video_mc_watch_init_task.h"

#include "app/console.h"
#include "app/shared_state.h"
#include "video/video_capture.h"

#include <Poco/Net/NetException.h>
#include <Poco/Net/NetworkInterface.h>

namespace quendal {
namespace {

constexpr long kCycleMs = 100;

// One that cannot be looked for (that takes a descriptor, and there may be none left) counts as down: it
// is looked for again in the next cycle.
bool isInterfaceUp(const std::string& name) {
  try {
    return Poco::Net::NetworkInterface::forName(name).isUp();
  } catch (const Poco::Net::NetException&) {
    return false;
  }
}

}  // namespace

VideoMcWatchInitTask::VideoMcWatchInitTask() : ServiceTask("VideoMcWatchInitTask") {}

void VideoMcWatchInitTask::runTask() {
  console::line("Video Mc Watch Init Task starting up...");
  while (!mustStop()) {
    if (shared::linkUp) {
      serveCapture();
    }
    sleepMs(kCycleMs);
  }
  videoCapture.close();
}

void VideoMcWatchInitTask::serveCapture() {
  if (shared::videoCaptureReopenReq.exchange(false)) {
    videoCapture.open(shared::netIfName, shared::videoMcAddress);
  }
  if (shared::linkUp && videoCapture.isOpen() && !mustStop()) {
    runCapture();
  }
}

// A capture that failed never sees its interface again, not even when one of the same name comes back
// in its place. Until then it is tried in every cycle and fails in every one.
void VideoMcWatchInitTask::runCapture() {
  if (!videoCapture.run() && isInterfaceUp(shared::netIfName)) {
    shared::videoCaptureReopenReq = true;
  }
}

// The cancellation is noted before the loop is broken: a capture that is being opened meanwhile is not
// there to be broken yet, and the task's thread looks at the note once it is.
void VideoMcWatchInitTask::cancel() {
  ServiceTask::cancel();
  videoCapture.breakLoop();
}

bool VideoMcWatchInitTask::mustStop() const {
  return shared::stopReq || isCancelRequested();
}

}  // namespace quendal
