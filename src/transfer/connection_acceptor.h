// Accepts the data service's connections, one handler each.
#pragma once

#include "transfer/data_reactor.h"

#include <Poco/AutoPtr.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketNotification.h>

namespace quendal {

/// Registers with the reactor for as long as it lives; runs on the reactor thread.
///
/// It takes the place of POCO's SocketAcceptor, which lets a failed accept escape into the reactor:
/// the listening socket stays readable, and at the limit of descriptors that loop takes a whole core
/// and leaves none for the rest of the service. Here a connection that would use up the last
/// descriptors is closed at once, which keeps a reserve for the other tasks, and an accept that fails
/// all the same is paced. Both end by themselves when connections close.
class ConnectionAcceptor {
 public:
  ConnectionAcceptor(const Poco::Net::ServerSocket& socket, DataReactor& reactor);
  ~ConnectionAcceptor();

  ConnectionAcceptor(const ConnectionAcceptor&) = delete;
  ConnectionAcceptor& operator=(const ConnectionAcceptor&) = delete;
  ConnectionAcceptor(ConnectionAcceptor&&) = delete;
  ConnectionAcceptor& operator=(ConnectionAcceptor&&) = delete;

  /// Accepts one connection and creates its handler.
  void onConnection(const Poco::AutoPtr<Poco::Net::ReadableNotification>& notification);

 private:
  Poco::Net::ServerSocket socket_;
  DataReactor& reactor_;
};

}  // namespace quendal
