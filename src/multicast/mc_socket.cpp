#include "multicast/mc_socket.h"

#include "base/console.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"

#include <Poco/Exception.h>
#include <Poco/Timespan.h>

#include <string>

namespace quendal {
namespace {

constexpr long kTimeoutSeconds = 1;

void setTimeouts() {
  const Poco::Timespan timeout(kTimeoutSeconds, 0);
  shared::mcSocket.setReceiveTimeout(timeout);
  shared::mcSocket.setSendTimeout(timeout);
  console::line("mcRxTimeout:" + std::to_string(shared::mcSocket.getReceiveTimeout().totalSeconds()));
  console::line("mcTxTimeout:" + std::to_string(shared::mcSocket.getSendTimeout().totalSeconds()));
}

}  // namespace

bool openMulticastSocket() {
  try {
    shared::mcSocket.bind(*shared::mcBindAddress, true);
    console::line("mttl:" + std::to_string(shared::mcTtl));
    shared::mcSocket.setTimeToLive(static_cast<unsigned>(shared::mcTtl));
    setTimeouts();
    shared::mcSocket.joinGroup(shared::mcBindAddress->host(), shared::currentInterface);
    // What we send would otherwise follow the routing table: to another interface, or nowhere on a
    // board without a default route.
    shared::mcSocket.setInterface(shared::currentInterface);
    return true;
  } catch (const Poco::Exception& failure) {
    console::failure("McTask: Exception Met!", failure);
    return false;
  }
}

void closeMulticastSocket() {
  try {
    shared::mcSocket.close();
  } catch (const Poco::Exception& failure) {
    console::failure("McTask: Exception Met closing socket!", failure, "Exception Info:");
  }
}

}  // namespace quendal
