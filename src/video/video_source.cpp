#include "video/video_source.h"

#include "base/console.h"
#include "network/address_rules.h"
#include "video/video_state.h"

#include <optional>

namespace quendal {

// The capture filter gets the text itself, so only the one form that means the same to everybody is good.
bool isMulticastGroup(const std::string& text) {
  const std::optional<Poco::Net::IPAddress> address = parseIpv4(text);
  return address && address->isMulticast();
}

void watchVideoStream(const std::string& group) {
  if (!isMulticastGroup(group)) {
    console::line("videoMcIp in ini is not an IPv4 multicast address, video watch stays off:" + group);
    return;
  }
  shared::videoMcAddress = group;
  shared::videoCaptureReopenReq = true;
  shared::videoWatchEnabled = true;
}

}  // namespace quendal
