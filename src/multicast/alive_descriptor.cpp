#include "multicast/alive_descriptor.h"

#include "base/plain_file.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "multicast/temporary_data.h"
#include "network/network_state.h"

#include <span>

namespace quendal {
namespace {

std::string readHardwareAddress(const std::string& interface) {
  return readSystemFile(platform::systemPath("/sys/class/net/" + interface + "/address"));
}

}  // namespace

std::string aliveDescriptorText(const DisplayIdentity& own, const std::string& ipAddress,
                                const std::string& hardwareAddress) {
  return "\n[Alive]\ngroupID=" + std::to_string(own.groupNo) + "\ncolumnID=" + std::to_string(own.columnNo) +
         "\nunitID=" + std::to_string(own.displayNo) + "\nipv4Addr=" + ipAddress + "\nphyAddr=" + hardwareAddress +
         "\n";
}

void writeAliveDescriptor(const std::string& path) {
  const std::string text = aliveDescriptorText(shared::ownIdentity(), shared::currentIpAddress.get().toString(),
                                               readHardwareAddress(shared::netIfName));
  saveTemporaryData(path, std::as_bytes(std::span(text)));
}

}  // namespace quendal
