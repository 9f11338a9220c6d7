// A connection to the transmitter's server, for one reply.
#pragma once

#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>

#include <cstdint>
#include <string>

namespace quendal {

/// Connects to `port` of `host`, an address or a name, and limits each later send to `timeout` as well.
///
/// Looking the name up and connecting take at most `timeout` together: the caller receives multicast
/// datagrams and follows the pause handshake on the same thread. Throws Poco::Exception when there is
/// no connection by then, and at once for a host that is not in `allowedSenders`, that is this display itself, or
/// that is none: unspecified, multicast or broadcast.
Poco::Net::StreamSocket connectForReply(const std::string& host, std::uint16_t port, const Poco::Timespan& timeout);

}  // namespace quendal
