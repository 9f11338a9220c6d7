#include "video/video_capture.h"

#include "base/console.h"
#include "base/platform.h"
#include "video/video_state.h"

#include <pcap/pcap.h>
#include <poll.h>

#include <array>

namespace quendal {
namespace {

constexpr int kSnapLength = 500;
constexpr int kPromiscuous = 1;
constexpr int kReadTimeoutMs = 1000;
constexpr int kOptimise = 1;
constexpr int kAllThatAreThere = -1;
constexpr int kNonBlocking = 1;
constexpr int kLookMs = 100;

bool setFilter(pcap_t* handle, const std::string& interface, const std::string& filter, std::string& report) {
  bpf_u_int32 net = 0;
  bpf_u_int32 mask = 0;
  std::array<char, PCAP_ERRBUF_SIZE> error{};
  // Without an address on the interface the mask stays 0, which this filter does not depend on.
  pcap_lookupnet(interface.c_str(), &net, &mask, error.data());

  bpf_program program{};
  if (pcap_compile(handle, &program, filter.c_str(), kOptimise, mask) != 0) {
    report += std::string("\npcap_compile, err:") + pcap_geterr(handle);
    return false;
  }
  const bool isSet = pcap_setfilter(handle, &program) == 0;
  pcap_freecode(&program);
  if (!isSet) {
    report += std::string("\npcap_setfilter, err:") + pcap_geterr(handle);
  }
  return isSet;
}

}  // namespace

VideoCapture videoCapture;

std::string captureFilter(const std::string& group) {
  return "(ip multicast) and (dst " + group + ")";
}

void onVideoPacket(unsigned char* /*user*/, const pcap_pkthdr* /*header*/, const unsigned char* /*bytes*/) {
  ++shared::videoPacketCount;
}

void VideoCapture::CloseHandle::operator()(pcap* handle) const {
  pcap_close(handle);
}

void VideoCapture::open(const std::string& interface, const std::string& group) {
  close();
  std::string report;
  Handle opened = openFiltered(interface, group, report);
  const bool isOpened = opened != nullptr;
  if (isOpened || report != lastFailure_) {
    console::line(report);
  }
  lastFailure_ = isOpened ? std::string() : report;
  handle_ = std::move(opened);
}

// Not by pcap_loop, which waits for packets without limit: breaking it off needs a descriptor of the library's and
// a write that may both fail, and a capture without packets would hold the end of the service for ever. So the wait
// is our own. What is ready and still gives no packet, such as an error of the interface, or a wait that fails at
// once, must not take a whole core.
bool VideoCapture::run(const std::function<bool()>& isOver) {
  while (!isOver()) {
    pollfd packets{.fd = pcap_get_selectable_fd(handle_.get()), .events = POLLIN, .revents = 0};
    const bool waited = ::poll(&packets, 1, kLookMs) == 0;
    const int count = pcap_dispatch(handle_.get(), kAllThatAreThere, &onVideoPacket, nullptr);
    if (count < 0) {
      return false;
    }
    if (count == 0 && !waited) {
      platform::sleepMs(kLookMs);
    }
  }
  return true;
}

VideoCapture::Handle VideoCapture::openFiltered(const std::string& interface, const std::string& group,
                                                std::string& report) {
  std::array<char, PCAP_ERRBUF_SIZE> error{};
  Handle handle(pcap_open_live(interface.c_str(), kSnapLength, kPromiscuous, kReadTimeoutMs, error.data()));
  if (handle == nullptr) {
    report = std::string("pcap_open_live, err:") + error.data();
    return nullptr;
  }
  report = "pcap_open_live OK!\n\nhandle ether, DLT: " + std::to_string(pcap_datalink(handle.get()));
  if (pcap_setnonblock(handle.get(), kNonBlocking, error.data()) != 0) {
    report += std::string("\npcap_setnonblock, err:") + error.data();
    return nullptr;
  }
  if (!setFilter(handle.get(), interface, captureFilter(group), report)) {
    return nullptr;
  }
  return handle;
}

}  // namespace quendal
