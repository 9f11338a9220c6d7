// The process-wide variables of the video watch.
//
// base/shared_state.h says what keeps them safe.
#pragma once

#include "base/flags.h"

#include <string>

namespace quendal::shared {

extern Counter videoPacketCount;       // written by the capture, read by VideoMcWatchTask
extern Counter videoPacketsPerSecond;  // VideoMcWatchTask
extern Counter videoIdleSeconds;       // VideoMcWatchTask
extern Flag videoWatchEnabled;         // set by the start-up, read by VideoMcWatchTask
extern Flag videoCaptureReopenReq;     // set by the start-up, then VideoMcWatchTask; cleared by VideoMcWatchInitTask
extern std::string videoMcAddress;     // written by the start-up, read by VideoMcWatchInitTask

}  // namespace quendal::shared
