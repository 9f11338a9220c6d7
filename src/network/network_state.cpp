#include "network/network_state.h"

namespace quendal::shared {

std::string netIfName = "eth0";
std::string carrierFilePath = "/sys/class/net/eth0/carrier";
const std::string linkedIfName = "eth0";
std::string staticIp;
std::string staticNetmask;
std::string staticGateway;
std::string staticDns;
Flag staticIpMode = false;
SenderList allowedSenders;

Flag linkUp = false;
Flag linkUpPrev = false;
Flag carrierUpSeen = false;
Poco::Net::NetworkInterface currentInterface(static_cast<unsigned>(-1));
SharedIpAddress currentIpAddress;
std::array<char, 128> shellCmdBuf{};
std::array<char, 5> carrierReadBuf{};

}  // namespace quendal::shared
