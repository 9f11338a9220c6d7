// A cable of its own for the tests of the real capture: a veth pair in the test process's network.
#pragma once

#include <cstdint>
#include <string>

namespace quendal {

/// The end on which the capture listens.
inline constexpr const char* kWatchedInterface = "watch0";

/// The stream's group, and one that is none of its business.
inline constexpr const char* kGroup = "239.255.77.2";
inline constexpr const char* kOtherGroup = "239.255.77.3";

/// What the service says of a capture on such a cable that it has opened.
inline constexpr const char* kOpened = "\npcap_open_live OK!\n\nhandle ether, DLT: 1";

/// Runs "ip" with `arguments`; throws std::runtime_error when it fails. Only in a namespace: see
/// capture_main.cpp.
void runIp(const std::string& arguments);

/// Plugs the cable in: both ends up, the sender's with an address.
void plugCable();

/// Takes both interfaces away, if they are still there.
void removeCable();

/// Sends multicast into the sender's end of the cable.
class StreamSender {
 public:
  StreamSender();
  ~StreamSender();
  StreamSender(const StreamSender&) = delete;
  StreamSender& operator=(const StreamSender&) = delete;
  StreamSender(StreamSender&&) = delete;
  StreamSender& operator=(StreamSender&&) = delete;

  /// Sends `count` datagrams of the size that carries seven packets of a transport stream to `group`;
  /// throws std::runtime_error when one cannot leave.
  void send(const std::string& group, int count) const;

 private:
  int socket_;
};

}  // namespace quendal
