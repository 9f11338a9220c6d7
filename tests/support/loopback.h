// TCP connections within the test process, over 127.0.0.1.
#pragma once

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>

#include <cstdint>
#include <string>

namespace quendal {

/// Both ends of one connection.
struct LoopbackPair {
  Poco::Net::StreamSocket transmitter;
  Poco::Net::StreamSocket accepted;
};

LoopbackPair connectLoopback();

/// A connection whose accepted end has one byte to read.
LoopbackPair connectWithByteReady();

/// Sends all of `bytes`.
void sendAll(Poco::Net::StreamSocket& socket, const std::string& bytes);

/// Ends the connection with a reset, not with the usual farewell.
void resetConnection(Poco::Net::StreamSocket& socket);

/// Has the other side closed the connection? Waits up to five seconds for it.
bool isClosedByPeer(Poco::Net::StreamSocket& socket);

/// A port that nobody listens on and that stays reserved for the test: a program may bind and listen,
/// but the kernel hands the port to nobody else.
class ReservedPort {
 public:
  ReservedPort();

  std::uint16_t number() const { return socket_.address().port(); }

 private:
  Poco::Net::ServerSocket socket_;
};

}  // namespace quendal
