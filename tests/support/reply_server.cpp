#include "support/reply_server.h"

#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>

#include <array>

namespace quendal {
namespace {

constexpr long kPatienceSeconds = 5;

}  // namespace

ReplyServer::ReplyServer() : server_(Poco::Net::SocketAddress("127.0.0.1", 0)) {}

bool ReplyServer::hasConnection() const {
  return server_.poll(Poco::Timespan(0), Poco::Net::Socket::SELECT_READ);
}

std::string ReplyServer::takeReply() {
  server_.setReceiveTimeout(Poco::Timespan(kPatienceSeconds, 0));
  Poco::Net::StreamSocket connection = server_.acceptConnection();
  connection.setReceiveTimeout(Poco::Timespan(kPatienceSeconds, 0));
  std::string reply;
  std::array<char, 4096> chunk{};
  for (;;) {
    const int count = connection.receiveBytes(chunk.data(), static_cast<int>(chunk.size()));
    if (count <= 0) {
      return reply;
    }
    reply.append(chunk.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace quendal
