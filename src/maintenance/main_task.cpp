#include "maintenance/main_task.h"

#include "app/console.h"
#include "app/platform.h"
#include "app/shared_state.h"
#include "ipc/semaphore_table.h"
#include "maintenance/usb_duties.h"
#include "network/address_rules.h"
#include "network/address_setup.h"
#include "network/carrier.h"
#include "network/interface_discovery.h"

#include <algorithm>

namespace quendal {

using Poco::Net::NetworkInterface;

namespace {

constexpr long kCycleMs = 3000;
constexpr long kLinkDownMs = 6000;
constexpr long kHandshakePollMs = 100;

bool carrierIsUp() {
  return isCarrierUp(shared::carrierFilePath, shared::carrierReadBuf);
}

void reportFailure(const std::exception& failure) {
  console::failure("MainTask: Exception Met!", failure);
}

}  // namespace

MainTask::MainTask() : ServiceTask("MainTask") {
  shared::carrierUpSeen = false;
  shared::stopReq = false;
  shared::dataStopReq = false;
  shared::mcPauseReq = true;
  shared::mcPaused = true;
  shared::dataPauseReq = true;
  shared::dataPaused = true;
  shared::dataReinitReq = false;
  shared::linkUpPrev = false;
  shared::linkUp = false;
}

void MainTask::runTask() {
  try {
    prepare();
  } catch (const std::exception& failure) {
    reportFailure(failure);
  }
  while (!mustStop()) {
    sleepMs(kCycleMs);
    if (mustStop()) {
      return;
    }
    try {
      runCycle();
    } catch (const std::exception& failure) {
      // linkUpPrev stays as it was, so that an unfinished transition is made up for in the next cycle.
      reportFailure(failure);
    }
  }
}

void MainTask::prepare() {
  carrierFile = platform::systemPath(shared::carrierFilePath);
  interfaces = NetworkInterface::list(true, true);
  rememberLinkedAddress(findLinkedInterface());
}

void MainTask::runCycle() {
  runUsbDuties();
  if (isLinkUp()) {
    handleLinkUp();
  } else {
    handleLinkDown();
  }
  shared::linkUpPrev = shared::linkUp.load();
}

// A stick that cannot be served ends the stick's duties of this cycle and nothing else: the link is
// judged all the same.
void MainTask::runUsbDuties() {
  try {
    runStickDuties(usbDriveName, [this](long milliseconds) { return sleepMs(milliseconds) || mustStop(); });
  } catch (const std::exception& failure) {
    reportFailure(failure);
  }
}

// An interface that is not in the list yet and a carrier that is away both lead to the refresh, which
// may bring the interface up; with the link down, every cycle comes to it.
bool MainTask::isLinkUp() {
  if (!carrierFile.exists()) {
    return false;
  }
  if (hasCachedInterface() && carrierIsUp()) {
    shared::carrierUpSeen = true;
    if (shared::linkUp) {
      return isUsableAddress(shared::currentIpAddress.get());
    }
  }
  return refreshLink();
}

bool MainTask::refreshLink() {
  refreshNetworkAddress();
  interfaces = NetworkInterface::list(true, true);
  if (!hasCachedInterface()) {
    return false;
  }
  if (carrierFile.exists() && !carrierIsUp()) {
    return false;
  }
  shared::carrierUpSeen = true;
  rememberLinkedAddress(findLinkedInterface());
  return isUsableAddress(shared::currentIpAddress.get());
}

bool MainTask::hasCachedInterface() const {
  return std::any_of(interfaces.begin(), interfaces.end(),
                     [](const NetworkInterface& interface) { return interface.name() == shared::netIfName; });
}

void MainTask::rememberLinkedAddress(const NetworkInterface& interface) {
  shared::currentIpAddress.set(firstAddressOf(interface));
}

void MainTask::handleLinkUp() {
  shared::linkUp = true;
  // The pause requests are asked as well: a transition to "down" that failed half-way has paused a
  // task without counting as made.
  const bool released = !shared::mcPauseReq && !shared::dataPauseReq;
  if (!shared::linkUpPrev || !released) {
    releaseNetworkTasks();
  }
}

void MainTask::releaseNetworkTasks() {
  console::line("Network is back ON again!");
  shared::currentInterface = findLinkedInterface();
  rememberLinkedAddress(shared::currentInterface);
  shared::mcPauseReq = false;
  shared::dataPauseReq = false;
  postIpcSemaphore(kNetworkUp);
}

void MainTask::handleLinkDown() {
  shared::linkUp = false;
  if (isUsableAddress(shared::currentIpAddress.get())) {
    shared::carrierUpSeen = true;
  }
  postIpcSemaphore(kNetworkDown);
  sleepMs(kLinkDownMs);
  if (shared::linkUpPrev) {
    pauseNetworkTasks();
  }
}

// Both handshakes wait for as long as it takes: a network task always reports in the end, also when
// it stops. Their polls must not be cut short by cancellation, which would turn them into a spin.
void MainTask::pauseNetworkTasks() {
  shared::mcPauseReq = true;
  while (!shared::mcPaused) {
    platform::sleepMs(kHandshakePollMs);
    console::write("[1]");
  }
  shared::mcSocket.impl()->close();
  shared::dataPauseReq = true;
  while (!shared::dataPaused) {
    platform::sleepMs(kHandshakePollMs);
  }
  platform::runShell("sudo rm -Rf /var/lib/dhcpcd/*");  // so that the next link-up asks for a lease afresh
}

bool MainTask::mustStop() const {
  return shared::stopReq || isCancelRequested();
}

}  // namespace quendal
