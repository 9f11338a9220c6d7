// The video watch tasks: they follow the stop.
#pragma once

#include "app/service_task.h"

namespace quendal {

/// Will sample the count of video packets; ends with `stopReq` or cancellation.
class VideoMcWatchTask : public ServiceTask {
 public:
  VideoMcWatchTask();
  void runTask() override;
};

/// Will hold the packet capture; ends with `stopReq` or cancellation.
class VideoMcWatchInitTask : public ServiceTask {
 public:
  VideoMcWatchInitTask();
  void runTask() override;
};

}  // namespace quendal
