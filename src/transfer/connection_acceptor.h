// Accepts the data service's connections, one handler each.
#pragma once

#include "transfer/data_reactor.h"

#include <Poco/Net/ServerSocket.h>

namespace quendal {

/// Registers with the reactor for as long as it lives; runs on the reactor thread.
///
/// At the limit of descriptors the listening socket stays readable: accepting at full speed would take a
/// whole core and leave no descriptor for the rest of the service. So a connection that would use up the last
/// descriptors is closed at once, which keeps a reserve for the other tasks, and an accept that fails
/// all the same is paced. Both end by themselves when connections close.
///
/// A connection from a host that is not in `allowedSenders` is closed as soon as it is accepted: one warning of the
/// application's logger, and nothing else follows from it.
class ConnectionAcceptor {
 public:
  ConnectionAcceptor(const Poco::Net::ServerSocket& socket, DataReactor& reactor);
  ~ConnectionAcceptor();

  ConnectionAcceptor(const ConnectionAcceptor&) = delete;
  ConnectionAcceptor& operator=(const ConnectionAcceptor&) = delete;
  ConnectionAcceptor(ConnectionAcceptor&&) = delete;
  ConnectionAcceptor& operator=(ConnectionAcceptor&&) = delete;

  /// Accepts one connection and creates its handler.
  void onConnection();

 private:
  Poco::Net::ServerSocket socket_;
  DataReactor& reactor_;
};

}  // namespace quendal
