#include "video/video_state.h"

namespace quendal::shared {

Counter videoPacketCount = 0;
Counter videoPacketsPerSecond = 0;
Counter videoIdleSeconds = 0;
Flag videoWatchEnabled = false;
Flag videoCaptureReopenReq = false;
std::string videoMcAddress;

}  // namespace quendal::shared
