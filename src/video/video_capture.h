// The packet capture on the video stream (libpcap), which counts the stream's packets.
#pragma once

#include <functional>
#include <memory>
#include <string>

struct pcap;
struct pcap_pkthdr;

namespace quendal {

/// The capture filter that lets only packets to the multicast address `group` pass.
std::string captureFilter(const std::string& group);

/// The packet handler: adds one to `videoPacketCount`, whatever the packet.
void onVideoPacket(unsigned char* user, const pcap_pkthdr* header, const unsigned char* bytes);

/// A capture that one thread opens, runs and closes; no other may touch it.
class VideoCapture {
 public:
  /// Opens the capture of the stream to `group` on `interface`, closing an open one first, and writes
  /// to the error stream how that went, but a failure only if the open before did not fail in the same
  /// words. A capture without its filter would count foreign packets, so a filter that cannot be set
  /// leaves the capture closed, just as a failed open does.
  void open(const std::string& interface, const std::string& group);

  void close() { handle_.reset(); }

  bool isOpen() const { return handle_ != nullptr; }

  /// Counts packets until `isOver`, which it asks ten times a second, says so, and returns true then; false when
  /// the capture failed, as it does once the interface is gone, and always will then. A link that is down is no
  /// failure: the capture waits. Only while the capture is open.
  bool run(const std::function<bool()>& isOver);

 private:
  struct CloseHandle {
    void operator()(pcap* handle) const;
  };
  using Handle = std::unique_ptr<pcap, CloseHandle>;

  // `report` becomes what there is to say.
  static Handle openFiltered(const std::string& interface, const std::string& group, std::string& report);

  Handle handle_;
  std::string lastFailure_;  // of the last open; empty when it worked
};

/// The process's one capture. VideoMcWatchInitTask owns it.
extern VideoCapture videoCapture;

}  // namespace quendal
