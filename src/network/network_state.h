// The process-wide variables of the network: the link, the interface and its address.
//
// base/shared_state.h says what keeps them safe.
#pragma once

#include "base/flags.h"
#include "network/sender_list.h"

#include <Poco/Net/IPAddress.h>
#include <Poco/Net/NetworkInterface.h>

#include <array>
#include <mutex>
#include <string>

namespace quendal {

/// An address that one thread replaces while another may be reading it.
class SharedIpAddress {
 public:
  Poco::Net::IPAddress get() const {
    const std::scoped_lock lock(mutex_);
    return address_;
  }
  void set(const Poco::Net::IPAddress& address) {
    const std::scoped_lock lock(mutex_);
    address_ = address;
  }

 private:
  mutable std::mutex mutex_;
  Poco::Net::IPAddress address_;  // the IPv4 wildcard until set
};

namespace shared {

// --- Configuration: written by the start-up, then only read ---

extern std::string netIfName;           // address set-up, link watch, alive descriptor, video tasks
extern std::string carrierFilePath;     // address set-up and link watch
extern const std::string linkedIfName;  // the wired interface's fixed name: findLinkedInterface
extern std::string staticIp;            // the four of a static address: start-up and refreshNetworkAddress
extern std::string staticNetmask;
extern std::string staticGateway;
extern std::string staticDns;
extern Flag staticIpMode;          // refreshNetworkAddress
extern SenderList allowedSenders;  // who is listened to: connection acceptor, McTask, replies

// --- The link, as MainTask's thread sees it ---

extern Flag linkUp;         // as judged now: link watch, refreshNetworkAddress; read by the video tasks
extern Flag linkUpPrev;     // as judged in the previous cycle: link watch
extern Flag carrierUpSeen;  // an address was configured: set by the link watch, cleared by refreshNetworkAddress
extern Poco::Net::NetworkInterface currentInterface;  // the link watch, while McTask is paused; read by McTask
extern SharedIpAddress currentIpAddress;              // written by the link watch, read by the alive descriptor
extern std::array<char, 128> shellCmdBuf;             // address set-up: start-up, then MainTask
extern std::array<char, 5> carrierReadBuf;            // address set-up and link watch

}  // namespace shared
}  // namespace quendal
