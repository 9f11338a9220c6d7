#include "multicast/mc_socket.h"

#include "base/console.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"

#include <Poco/Exception.h>
#include <Poco/Net/NetException.h>
#include <Poco/Timespan.h>

#include <cerrno>
#include <exception>
#include <string>

namespace quendal {
namespace {

// One go at the socket, step by step: what is said ends with the first failure, what is done does not.
class Attempt {
 public:
  explicit Attempt(bool isSilent) : isSilent_(isSilent) {}

  template <typename Step>
  bool make(const Step& step) {
    try {
      step();
      return true;
    } catch (const std::exception& failure) {
      if (!isSilent_) {
        console::failure("McTask: Exception Met!", failure);
      }
      isSilent_ = true;
      return false;
    }
  }

  void say(const std::string& text) const {
    if (!isSilent_) {
      console::line(text);
    }
  }

 private:
  bool isSilent_;
};

void setTimeToLive() {
  shared::mcSocket.setTimeToLive(static_cast<unsigned>(shared::mcTtl));
}

void setTimeouts() {
  const Poco::Timespan timeout(kMulticastTimeoutSeconds, 0);
  shared::mcSocket.setReceiveTimeout(timeout);
  shared::mcSocket.setSendTimeout(timeout);
}

void sayTimeouts(const Attempt& attempt) {
  attempt.say("mcRxTimeout:" + std::to_string(shared::mcSocket.getReceiveTimeout().totalSeconds()));
  attempt.say("mcTxTimeout:" + std::to_string(shared::mcSocket.getSendTimeout().totalSeconds()));
}

// A later attempt may find the group joined already.
void joinGroup() {
  try {
    shared::mcSocket.joinGroup(shared::mcBindAddress->host(), shared::currentInterface);
  } catch (const Poco::Net::NetException& failure) {
    if (failure.code() != EADDRINUSE) {
      throw;
    }
  }
}

// What we send would otherwise follow the routing table: to another interface, or nowhere on a board
// without a default route.
void setOutgoingInterface() {
  shared::mcSocket.setInterface(shared::currentInterface);
}

bool enterGroup(Attempt& attempt) {
  const bool isJoined = attempt.make(&joinGroup);
  return attempt.make(&setOutgoingInterface) && isJoined;
}

}  // namespace

McSocketState openMulticastSocket() {
  Attempt attempt(false);
  if (!attempt.make([] { shared::mcSocket.bind(*shared::mcBindAddress, true); })) {
    return McSocketState::kClosed;
  }
  attempt.say("mttl:" + std::to_string(shared::mcTtl));
  const bool hasTimeToLive = attempt.make(&setTimeToLive);
  if (!attempt.make(&setTimeouts)) {
    return McSocketState::kClosed;
  }
  attempt.make([&] { sayTimeouts(attempt); });
  return enterGroup(attempt) && hasTimeToLive ? McSocketState::kSettled : McSocketState::kUnsettled;
}

bool settleMulticastSocket() {
  Attempt attempt(true);
  const bool hasTimeToLive = attempt.make(&setTimeToLive);
  return enterGroup(attempt) && hasTimeToLive;
}

void closeMulticastSocket() {
  try {
    shared::mcSocket.close();
  } catch (const std::exception& failure) {
    console::failure("McTask: Exception Met closing socket!", failure, "Exception Info:");
  }
}

}  // namespace quendal
