#include "network/address_setup.h"

#include "base/console.h"
#include "base/platform.h"
#include "network/carrier.h"
#include "network/network_commands.h"
#include "network/network_state.h"

#include <algorithm>

namespace quendal {
namespace {

constexpr long kBeforeRouteMs = 2000;
constexpr long kAfterStaticAddressMs = 3000;
constexpr int kNotRun = -1;

// Says why a command is not run; false: it may be run.
bool reportRefusal(const NetworkCommand& command) {
  if (command.text.size() >= shared::shellCmdBuf.size()) {
    console::line("Command not run, too long:[" + command.text + "]");
    return true;
  }
  if (!command.refusal.empty()) {
    console::line(command.refusal);
    return true;
  }
  return false;
}

// Puts the command into shellCmdBuf, announces it and runs it from there.
int announceAndRun(const NetworkCommand& command) {
  if (reportRefusal(command)) {
    return kNotRun;
  }
  std::copy_n(command.text.c_str(), command.text.size() + 1, shared::shellCmdBuf.begin());
  const std::string text(shared::shellCmdBuf.data());
  console::write("\r\nCmd:" + text + "\r\n");
  return platform::runShell(text);
}

void bringInterfaceUp() {
  const NetworkCommand command = composeInterfaceUpCommand(shared::netIfName);
  if (!reportRefusal(command)) {
    platform::runShell(command.text);
  }
}

// The fixed name is how boards have always been flushed, also those that use another interface.
void flushAddressOnce() {
  if (shared::carrierUpSeen) {
    shared::carrierUpSeen = false;
    platform::runShell("sudo ip addr flush dev eth0");
    shared::linkUp = false;
  }
}

void runDhcpClient() {
  const NetworkCommand command = composeDhcpCommand(shared::netIfName);
  if (reportRefusal(command)) {
    return;
  }
  console::write("dhcpcd up " + shared::netIfName + " cmd rc code");
  console::write(std::to_string(platform::runShell(command.text)));
}

}  // namespace

int setStaticAddress(const std::string& address, const std::string& mask, const std::string& gateway) {
  announceAndRun(composeAddressCommand(shared::netIfName, address, mask));
  platform::sleepMs(kBeforeRouteMs);
  return announceAndRun(composeGatewayCommand(gateway));
}

void refreshNetworkAddress() {
  bringInterfaceUp();
  if (!isCarrierUp(shared::carrierFilePath, shared::carrierReadBuf)) {
    flushAddressOnce();
  } else if (shared::staticIpMode) {
    setStaticAddress(shared::staticIp, shared::staticNetmask, shared::staticGateway);
    platform::sleepMs(kAfterStaticAddressMs);
  } else {
    runDhcpClient();
  }
}

}  // namespace quendal
