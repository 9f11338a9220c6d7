// The capture side of the video watch: opens the packet capture and counts the stream's packets.
#pragma once

#include "base/service_task.h"

#include <Poco/Timestamp.h>

namespace quendal {

/// Owns the capture (video_capture.h). While the link is up it opens the capture anew whenever
/// `videoCaptureReopenReq` is raised, which it clears, and runs it. The thread then stays in the
/// capture's loop until a re-open is requested, as it is at each loss of the link, or the task has to end.
///
/// A capture that could not be opened, and one whose interface has gone, is opened anew at the next
/// request, or without one ten seconds after the last opening. Before the first request nothing is.
class VideoMcWatchInitTask : public ServiceTask {
 public:
  VideoMcWatchInitTask();

  void runTask() override;

 private:
  void serveCapture();
  bool isOpeningDue() const;
  void openCapture();

  bool isWanted_ = false;  // a capture has been requested
  Poco::Timestamp lastOpening_{0};
};

}  // namespace quendal
