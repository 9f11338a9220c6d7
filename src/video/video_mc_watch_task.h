// The watch on the video stream: samples the packet count and tells the display of a silent stream.
#pragma once

#include "base/service_task.h"

#include <cstdint>

namespace quendal {

/// While the link is up and the watch is switched on, looks once a second at the number of packets
/// that the capture has counted, and posts NETW_UTIL_DN by the silence rule (silence_rule.h).
///
/// It also requests a re-open when the link goes, so that the next link-up finds the interface as it is
/// then. Ends with `stopReq` or cancellation.
class VideoMcWatchTask : public ServiceTask {
 public:
  VideoMcWatchTask();

  void runTask() override;

 private:
  void watch();
  void watchLink();
  void watchOneSecond();

  bool wasLinkUp_ = false;
  std::uint32_t previousCount_ = 0;
};

}  // namespace quendal
