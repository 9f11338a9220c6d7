#include "video/video_capture.h"

#include "base/console.h"
#include "video/video_state.h"

#include <pcap/pcap.h>

#include <array>

namespace quendal {
namespace {

constexpr int kSnapLength = 500;
constexpr int kPromiscuous = 1;
constexpr int kReadTimeoutMs = 1000;
constexpr int kOptimise = 1;
constexpr int kUntilBroken = -1;

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
  const std::scoped_lock lock(mutex_);
  handle_ = std::move(opened);
}

// Withdraws the handle first and closes it behind the lock: closing waits for the kernel, and nobody
// who breaks the loop should wait with it.
void VideoCapture::close() {
  Handle closing;
  const std::scoped_lock lock(mutex_);
  closing.swap(handle_);
}

bool VideoCapture::run() {
  return pcap_loop(handle_.get(), kUntilBroken, &onVideoPacket, nullptr) != PCAP_ERROR;
}

void VideoCapture::breakLoop() {
  const std::scoped_lock lock(mutex_);
  if (handle_ != nullptr) {
    pcap_breakloop(handle_.get());
  }
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
  if (!setFilter(handle.get(), interface, captureFilter(group), report)) {
    return nullptr;
  }
  return handle;
}

}  // namespace quendal
