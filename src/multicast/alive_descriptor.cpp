#include "multicast/alive_descriptor.h"

#include "app/platform.h"
#include "app/shared_state.h"
#include "multicast/temporary_data.h"

#include <fstream>
#include <iterator>
#include <span>

namespace quendal {
namespace {

std::string readHardwareAddress(const std::string& interface) {
  std::ifstream file(platform::systemPath("/sys/class/net/" + interface + "/address"), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

DisplayAddress ownAddress() {
  return {.unitNo = shared::displayNo, .columnNo = shared::columnNo, .groupNo = shared::groupNo};
}

std::string aliveDescriptorText(const DisplayAddress& own, const std::string& ipAddress,
                                const std::string& hardwareAddress) {
  return "\n[Alive]\ngroupID=" + std::to_string(own.groupNo) + "\ncolumnID=" + std::to_string(own.columnNo) +
         "\nunitID=" + std::to_string(own.unitNo) + "\nipv4Addr=" + ipAddress + "\nphyAddr=" + hardwareAddress + "\n";
}

void writeAliveDescriptor(const std::string& path) {
  const std::string text = aliveDescriptorText(ownAddress(), shared::currentIpAddress.get().toString(),
                                               readHardwareAddress(shared::netIfName));
  saveTemporaryData(path, std::as_bytes(std::span(text)));
}

}  // namespace quendal
