#include "transfer/connection_acceptor.h"

#include "base/console.h"
#include "base/platform.h"
#include "network/network_state.h"
#include "transfer/data_service_handler.h"

#include <Poco/Logger.h>
#include <Poco/Util/Application.h>

#include <sys/resource.h>

#include <exception>

namespace quendal {

namespace {

// Descriptors kept free for the other tasks: carrier and configuration files, the file being
// received, the multicast reply, the video capture.
constexpr int kReservedDescriptors = 24;
constexpr long kFailedAcceptWaitMs = 100;

// The kernel hands out the lowest free number, so a high one says that nearly all are in use.
bool usesReserve(int descriptor) {
  rlimit limit{};
  return getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
         static_cast<rlim_t>(descriptor) + kReservedDescriptors >= limit.rlim_cur;
}

void logWarning(const std::string& text) {
  Poco::Util::Application::instance().logger().warning(text);
}

}  // namespace

ConnectionAcceptor::ConnectionAcceptor(const Poco::Net::ServerSocket& socket, DataReactor& reactor)
    : socket_(socket), reactor_(reactor) {
  reactor_.add(socket_, [this] { onConnection(); }, {});
}

ConnectionAcceptor::~ConnectionAcceptor() {
  reactor_.remove(socket_);
}

void ConnectionAcceptor::onConnection() {
  Poco::Net::StreamSocket connection;
  Poco::Net::SocketAddress peer;
  try {
    connection = socket_.acceptConnection(peer);
  } catch (const std::exception& failure) {
    logWarning("No connection can be accepted: " + console::failureText(failure));
    platform::sleepMs(kFailedAcceptWaitMs);
    return;
  }
  if (!shared::allowedSenders.allows(peer.host())) {
    logWarning("A connection from " + peer.host().toString() + ", which is no allowed sender, is closed");
    return;
  }
  if (usesReserve(connection.impl()->sockfd())) {
    logWarning("Too many connections, the newest is closed");
    return;
  }
  try {
    new DataServiceHandler(connection, reactor_);  // owned by the reactor: deletes itself at its shutdown
  } catch (const std::exception& failure) {
    logWarning("A connection was lost before it was served: " + console::failureText(failure));
  }
}

}  // namespace quendal
