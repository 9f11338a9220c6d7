// The capture side of the video watch: opens the packet capture and counts the stream's packets.
#pragma once

#include "base/service_task.h"

namespace quendal {

/// Owns the capture (video_capture.h). While the link is up it opens the capture anew whenever
/// `videoCaptureReopenReq` is raised, which it clears, and runs it. The thread then stays in the
/// capture's loop, also across a loss of the link, until a re-open is requested or the task is
/// cancelled; VideoMcWatchTask ends the loop for the former, cancel for the latter.
///
/// A capture that could not be opened stays closed until the next request. One whose interface has gone
/// counts nothing more until then, also when an interface of that name is back.
class VideoMcWatchInitTask : public ServiceTask {
 public:
  VideoMcWatchInitTask();

  void runTask() override;

  /// Ends the task, out of a capture without packets, too. Any thread.
  void cancel() override;

 private:
  void serveCapture();
};

}  // namespace quendal
