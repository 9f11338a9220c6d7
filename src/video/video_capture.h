// The packet capture on the video stream (libpcap), which counts the stream's packets.
#pragma once

#include <memory>
#include <mutex>
#include <string>

struct pcap;
struct pcap_pkthdr;

namespace quendal {

/// The capture filter that lets only packets to the multicast address `group` pass.
std::string captureFilter(const std::string& group);

/// The packet handler: adds one to `videoPacketCount`, whatever the packet.
void onVideoPacket(unsigned char* user, const pcap_pkthdr* header, const unsigned char* bytes);

/// A capture that one thread opens, runs and closes, and that any other thread may break off.
///
/// The lock stands between the owner, who publishes and withdraws the handle, and those who break the
/// loop: a handle that they see is not closed before they are done with it. The loop itself runs
/// without the lock.
class VideoCapture {
 public:
  /// Opens the capture of the stream to `group` on `interface`, closing an open one first, and writes
  /// to the error stream how that went, but a failure only if the open before did not fail in the same
  /// words. A capture without its filter would count foreign packets, so a filter that cannot be set
  /// leaves the capture closed, just as a failed open does. Owner only.
  void open(const std::string& interface, const std::string& group);

  /// Owner only.
  void close();

  /// Owner only.
  bool isOpen() const { return handle_ != nullptr; }

  /// Counts packets until breakLoop is called, and returns true then; false when the capture failed,
  /// as it does once the interface is gone, and always will then. A link that is down is no failure:
  /// the capture waits. Owner only, while the capture is open.
  bool run();

  /// Makes run return at once, also when no packet comes. Between two runs it ends the next one
  /// before it begins; without an open capture it does nothing. Any thread.
  void breakLoop();

 private:
  struct CloseHandle {
    void operator()(pcap* handle) const;
  };
  using Handle = std::unique_ptr<pcap, CloseHandle>;

  // `report` becomes what there is to say.
  static Handle openFiltered(const std::string& interface, const std::string& group, std::string& report);

  std::mutex mutex_;
  Handle handle_;            // written by the owner under the lock: the owner alone may read it without
  std::string lastFailure_;  // of the last open; empty when it worked. Owner only.
};

/// The process's one capture. VideoMcWatchInitTask owns it.
extern VideoCapture videoCapture;

}  // namespace quendal
