// Which video stream to watch: the source of the video context that both watch tasks wait for.
#pragma once

#include <string>

namespace quendal {

/// Is `text` an IPv4 multicast address, written as four plain decimal numbers?
bool isMulticastGroup(const std::string& text);

/// Switches the watch on for the stream to `group`: stores `videoMcAddress` and then raises
/// `videoCaptureReopenReq` and `videoWatchEnabled`. A text that is no multicast group is reported in a
/// line on the error stream and changes nothing.
///
/// Called by the start-up, before any task runs.
void watchVideoStream(const std::string& group);

}  // namespace quendal
