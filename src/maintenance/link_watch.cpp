#include "maintenance/link_watch.h"

#include "base/console.h"
#include "base/pause_handshake.h"
#include "base/platform.h"
#include "ipc/semaphore_table.h"
#include "multicast/multicast_state.h"
#include "network/address_rules.h"
#include "network/address_setup.h"
#include "network/carrier.h"
#include "network/interface_discovery.h"
#include "network/network_state.h"
#include "transfer/transfer_state.h"

#include <algorithm>
#include <optional>

namespace quendal {

using Poco::Net::NetworkInterface;

namespace {

constexpr long kLinkDownMs = 6000;
constexpr long kHandshakePollMs = 100;

bool isNamed(const NetworkInterface& interface) {
  return interface.name() == shared::netIfName;
}

void rememberAddress(const NetworkInterface& interface) {
  shared::currentIpAddress.set(firstAddressOf(interface));
}

bool isAddressUsable() {
  return isUsableAddress(shared::currentIpAddress.get());
}

}  // namespace

LinkVerdict judgeLink(const LinkSight& sight, bool wasUp) {
  if (!sight.hasCarrierFile) {
    return LinkVerdict::kDown;
  }
  if (!sight.hasInterface || !sight.hasCarrier || !wasUp) {
    return LinkVerdict::kRefresh;
  }
  return sight.hasUsableAddress ? LinkVerdict::kUp : LinkVerdict::kDown;
}

LinkVerdict judgeRefreshedLink(const LinkSight& sight) {
  const bool isLinked = sight.hasInterface && (sight.hasCarrier || !sight.hasCarrierFile);
  return isLinked && sight.hasUsableAddress ? LinkVerdict::kUp : LinkVerdict::kDown;
}

bool hasMoved(const NetworkInterface& used, const NetworkInterface& now) {
  const Poco::Net::IPAddress address = firstAddressOf(now);
  return isUsableAddress(address) && (now.index() != used.index() || address != firstAddressOf(used));
}

void LinkWatch::prepare() {
  carrierFile_ = platform::systemPath(shared::carrierFilePath);
  rememberInterfaces();
  rememberAddress(findLinkedInterface());
}

void LinkWatch::runCycle() {
  forgetReplacedInterface();
  const LinkSight sight = look();
  if (sight.hasInterface && sight.hasCarrier) {
    shared::carrierUpSeen = true;
  }
  LinkVerdict verdict = judgeLink(sight, shared::linkUp);
  if (verdict == LinkVerdict::kRefresh) {
    verdict = refreshAddress();
  }
  if (verdict == LinkVerdict::kUp) {
    handleLinkUp();
  } else {
    handleLinkDown();
  }
  shared::linkUpPrev = shared::linkUp.load();
}

LinkSight LinkWatch::look() const {
  LinkSight sight;
  sight.hasCarrierFile = carrierFile_.exists();
  sight.hasInterface = std::any_of(interfaces_.begin(), interfaces_.end(), isNamed);
  sight.hasCarrier = sight.hasCarrierFile && isCarrierUp(shared::carrierFilePath, shared::carrierReadBuf);
  sight.hasUsableAddress = isAddressUsable();
  return sight;
}

// Nothing that was done to the interface before is true of the new one: it is not even up. Gone from the list, it
// gets all of that from the refresh.
void LinkWatch::forgetReplacedInterface() {
  const std::optional<unsigned> index = interfaceIndex(shared::netIfName);
  std::erase_if(interfaces_, [&](const NetworkInterface& interface) {
    return index && isNamed(interface) && interface.index() != *index;
  });
}

LinkVerdict LinkWatch::refreshAddress() {
  refreshNetworkAddress();
  rememberInterfaces();
  LinkSight sight = look();
  if (sight.hasInterface && (sight.hasCarrier || !sight.hasCarrierFile)) {
    shared::carrierUpSeen = true;
    rememberAddress(findLinkedInterface());
    sight.hasUsableAddress = isAddressUsable();
  }
  return judgeRefreshedLink(sight);
}

void LinkWatch::rememberInterfaces() {
  interfaces_ = NetworkInterface::list(true, true);
}

void LinkWatch::handleLinkUp() {
  shared::linkUp = true;
  // The pause requests are asked as well: a transition to "down" that failed half-way has paused a
  // task without counting as made.
  const bool released = !shared::mcPauseReq && !shared::dataPauseReq;
  if (!shared::linkUpPrev || !released) {
    releaseNetworkTasks();
  } else {
    followInterface();
  }
}

// A group is joined, and datagrams leave, by an address of an interface. The data service listens at every
// address and needs nothing.
void LinkWatch::followInterface() {
  const NetworkInterface now =
      chooseLinkedInterface(NetworkInterface::list(true, true), shared::linkedIfName).interface;
  if (!hasMoved(shared::currentInterface, now)) {
    return;
  }
  rememberAddress(now);
  console::line("Network address has changed, " + now.displayName() + ":" + firstAddressOf(now).toString());
  pauseTask(shared::mcPauseFlags(), [] { platform::sleepMs(kHandshakePollMs); });
  shared::currentInterface = now;
  releaseTask(shared::mcPauseFlags());
}

void LinkWatch::releaseNetworkTasks() {
  console::line("Network is back ON again!");
  shared::currentInterface = findLinkedInterface();
  rememberAddress(shared::currentInterface);
  releaseTask(shared::mcPauseFlags());
  releaseTask(shared::dataPauseFlags());
  postIpcSemaphore(kNetworkUp);
}

void LinkWatch::handleLinkDown() {
  shared::linkUp = false;
  if (isAddressUsable()) {
    shared::carrierUpSeen = true;
  }
  postIpcSemaphore(kNetworkDown);
  wait_(kLinkDownMs);
  if (shared::linkUpPrev) {
    pauseNetworkTasks();
  }
}

// The polls must not be cut short by a stop, which would turn them into a spin.
void LinkWatch::pauseNetworkTasks() {
  pauseTask(shared::mcPauseFlags(), [] {
    platform::sleepMs(kHandshakePollMs);
    console::write("[1]");
  });
  shared::mcSocket.impl()->close();
  pauseTask(shared::dataPauseFlags(), [] { platform::sleepMs(kHandshakePollMs); });
  platform::runShell("sudo rm -Rf /var/lib/dhcpcd/*");  // so that the next link-up asks for a lease afresh
}

}  // namespace quendal
