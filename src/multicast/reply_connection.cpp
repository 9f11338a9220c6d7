#include "multicast/reply_connection.h"

#include "base/platform.h"
#include "network/network_state.h"

#include <Poco/Clock.h>
#include <Poco/Exception.h>
#include <Poco/Net/IPAddress.h>
#include <Poco/Net/SocketAddress.h>

#include <chrono>
#include <future>
#include <memory>
#include <system_error>
#include <thread>

namespace quendal {

using Poco::Net::SocketAddress;

namespace {

std::future<SocketAddress> beginLookUp(const std::string& host, std::uint16_t port) {
  const auto resolved = std::make_shared<std::promise<SocketAddress>>();
  std::future<SocketAddress> address = resolved->get_future();
  try {
    std::thread([resolved, host, port] {
      try {
        resolved->set_value(SocketAddress(host, port));
      } catch (...) {
        resolved->set_exception(std::current_exception());
      }
    }).detach();
  } catch (const std::system_error& failure) {
    throw Poco::SystemException("no thread to look " + host + " up", failure.what());
  }
  return address;
}

// The system's resolver has no time limit that a caller could set, and may take half a minute when the
// name server is silent. So it works on a thread of its own, which is left to its fate when it is late.
SocketAddress lookUp(const std::string& host, std::uint16_t port, const Poco::Timespan& timeout) {
  std::future<SocketAddress> address = beginLookUp(host, port);
  if (address.wait_for(std::chrono::microseconds(timeout.totalMicroseconds())) != std::future_status::ready) {
    throw Poco::TimeoutException(host);
  }
  return address.get();
}

SocketAddress addressOf(const std::string& host, std::uint16_t port, const Poco::Timespan& timeout) {
  Poco::Net::IPAddress address;
  return Poco::Net::IPAddress::tryParse(host, address) ? SocketAddress(address, port) : lookUp(host, port, timeout);
}

// A display that connected to itself would take its own reply for a file from a transmitter. IPv4 addresses in the
// clothes of IPv6 are no servers' addresses and are refused as they are.
bool mayBeServer(const SocketAddress& address) {
  const Poco::Net::IPAddress host = address.host();
  const bool isDisguised = host.family() == Poco::Net::IPAddress::IPv6 && host.isIPv4Mapped();
  return !isDisguised && !host.isWildcard() && !host.isMulticast() && !host.isBroadcast() &&
         shared::allowedSenders.allows(host) && !platform::isOwnAddress(*address.addr());
}

}  // namespace

Poco::Net::StreamSocket connectForReply(const std::string& host, std::uint16_t port, const Poco::Timespan& timeout) {
  const Poco::Clock start;
  const SocketAddress address = addressOf(host, port, timeout);
  if (!mayBeServer(address)) {
    throw Poco::InvalidAccessException("no host that a reply goes to", host);
  }
  const Poco::Timespan remaining = timeout - Poco::Timespan(start.elapsed());
  if (remaining <= Poco::Timespan(0)) {
    throw Poco::TimeoutException(host);
  }
  Poco::Net::StreamSocket socket;
  socket.connect(address, remaining);
  socket.setSendTimeout(timeout);
  return socket;
}

}  // namespace quendal
