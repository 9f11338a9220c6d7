#include "support/loopback.h"

#include <Poco/Exception.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Timespan.h>

namespace quendal {
namespace {

constexpr long kPeerTimeoutSeconds = 5;

Poco::Net::SocketAddress anyLoopbackPort() {
  return {"127.0.0.1", static_cast<Poco::UInt16>(0)};
}

}  // namespace

LoopbackPair connectLoopback() {
  Poco::Net::ServerSocket server;
  server.bind(anyLoopbackPort());
  server.listen(1);
  LoopbackPair pair;
  pair.transmitter.connect(server.address());
  pair.accepted = server.acceptConnection();
  return pair;
}

LoopbackPair connectWithByteReady() {
  LoopbackPair pair = connectLoopback();
  sendAll(pair.transmitter, "x");
  return pair;
}

void sendAll(Poco::Net::StreamSocket& socket, const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    sent += static_cast<std::size_t>(socket.sendBytes(bytes.data() + sent, static_cast<int>(bytes.size() - sent)));
  }
}

void resetConnection(Poco::Net::StreamSocket& socket) {
  socket.setLinger(true, 0);
  socket.close();
}

bool isClosedByPeer(Poco::Net::StreamSocket& socket) {
  socket.setReceiveTimeout(Poco::Timespan(kPeerTimeoutSeconds, 0));
  char byte = 0;
  try {
    return socket.receiveBytes(&byte, 1) == 0;
  } catch (const Poco::TimeoutException&) {
    return false;
  } catch (const Poco::Exception&) {
    return true;  // closed with bytes unread: a reset
  }
}

ReservedPort::ReservedPort() {
  socket_.bind(anyLoopbackPort(), true, false);
}

}  // namespace quendal
