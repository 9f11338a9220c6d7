// The transmitter's server: takes the replies that displays send over TCP.
#pragma once

#include <Poco/Net/ServerSocket.h>

#include <cstdint>
#include <string>

namespace quendal {

/// Listens on 127.0.0.1. Connections wait in the backlog until they are asked for, so that the one side
/// of a test can send before the other receives.
class ReplyServer {
 public:
  ReplyServer();

  std::uint16_t port() const { return server_.address().port(); }

  bool hasConnection() const;

  /// All that comes on the next connection until its end.
  std::string takeReply();

 private:
  Poco::Net::ServerSocket server_;
};

}  // namespace quendal
