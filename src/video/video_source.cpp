#include "video/video_source.h"

#include "app/console.h"
#include "app/shared_state.h"

#include <Poco/Net/IPAddress.h>

namespace quendal {

// The library also takes "239.1", "0xEF.1.2.3", octal numbers and text behind the address. The capture
// filter gets the text itself, so only the one form that means the same to everybody is good.
bool isMulticastGroup(const std::string& text) {
  Poco::Net::IPAddress address;
  return Poco::Net::IPAddress::tryParse(text, address) && address.family() == Poco::Net::IPAddress::IPv4 &&
         address.isMulticast() && address.toString() == text;
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
