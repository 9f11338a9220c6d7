// A display's multicast side on the loopback interface, with its files in a folder of the test's own.
#pragma once

#include "support/temporary_folder.h"

#include <Poco/DateTime.h>
#include <Poco/Net/MulticastSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Timestamp.h>

#include <cstdint>
#include <string>
#include <vector>

namespace quendal {

/// The loopback interface with its IPv4 address.
Poco::Net::NetworkInterface loopbackInterface();

/// An alive request to `unit`, `column`, `group` with request words 0x11223344 and 0x55667788.
std::string aliveRequest(std::uint16_t unit = 0, std::uint16_t column = 0, std::uint16_t group = 0);

/// The same with a file of `content`.
std::string aliveRequestWithFile(const std::string& content, std::uint16_t unit = 0);

/// The content of a request file that leads the reply to `port` of 127.0.0.1.
std::string serverEntry(std::uint16_t port);

/// Sets the shared state up: identity group 1, column 2, display 3, address 192.168.0.20, hardware
/// address 00:11:22:33:44:55, a group of the test's own on the loopback interface, no reply sent for a
/// minute, and a clock that stands at nine minutes past 13 on a day in May.
class MulticastScene {
 public:
  MulticastScene();

  static constexpr const char* kDescriptor =
      "\n[Alive]\ngroupID=1\ncolumnID=2\nunitID=3\nipv4Addr=192.168.0.20\nphyAddr=00:11:22:33:44:55\n\n";

  /// Moves the clock on, or back.
  void passSeconds(std::int64_t seconds) { setClock(now_ + seconds * Poco::Timestamp::resolution()); }

  /// Sets the clock to `time`, where it stands.
  void setClock(const Poco::Timestamp& time);

  /// Sends a datagram to the group, as a transmitter does. Any thread.
  void sendToGroup(const std::string& datagram);

  /// What lies in the temporary directory.
  std::vector<std::string> temporaryFiles() const;

  /// A path in the temporary directory.
  std::string temporaryPath(const std::string& name) const { return folder_.path() + "/tmp/" + name; }

  const TemporaryFolder& folder() const { return folder_; }

 private:
  TemporaryFolder folder_;
  Poco::Timestamp now_ = Poco::DateTime(2024, 5, 17, 13, 9).timestamp();
  Poco::Net::SocketAddress group_;
  Poco::Net::MulticastSocket transmitter_;
};

}  // namespace quendal
