#include "support/multicast_scene.h"

#include "base/shared_state.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "support/fake_platform.h"
#include "support/packet_builder.h"

#include <Poco/Net/NetworkInterface.h>
#include <Poco/Net/SocketAddress.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace quendal {

using Poco::Net::NetworkInterface;
using Poco::Net::SocketAddress;

namespace {

constexpr int kFirstPort = 20000;
constexpr int kPortCount = 40000;
constexpr std::int64_t kQuietSeconds = 60;

// Tests run side by side, each in a process of its own: none may hear another's datagrams.
std::uint16_t portOfThisProcess() {
  return static_cast<std::uint16_t>(kFirstPort + getpid() % kPortCount);
}

}  // namespace

NetworkInterface loopbackInterface() {
  for (const NetworkInterface& interface : NetworkInterface::list(true, true)) {
    if (interface.name() == "lo" && interface.supportsIPv4()) {
      return interface;
    }
  }
  throw std::runtime_error("there is no loopback interface");
}

std::string aliveRequest(std::uint16_t unit, std::uint16_t column, std::uint16_t group) {
  std::string packet(kHeaderSize + kAddressedStatusSize, '\0');
  const std::span<std::byte> bytes = std::as_writable_bytes(std::span(packet));
  encodeHeader({.elementCount = 2, .requestWordA = 0x11223344, .requestWordB = 0x55667788}, bytes);
  encodeCommandStatus({.elementLength = kAddressedStatusSize, .statusKind = 1, .commandCode = kAliveRequest},
                      bytes.subspan(kHeaderSize));
  encodeDisplayIdentity({.groupNo = group, .columnNo = column, .displayNo = unit}, bytes.subspan(kHeaderSize));
  return packet;
}

std::string aliveRequestWithFile(const std::string& content, std::uint16_t unit) {
  constexpr std::size_t kElementCountOffset = 6;
  std::string packet = aliveRequest(unit);
  packet[kElementCountOffset] = 3;
  return packet + fileElement("alive_cfg.ini", content);
}

std::string serverEntry(std::uint16_t port) {
  return "[new_alive_cfgpc_info]\nTCPserverPort=" + std::to_string(port) + "\nTCPserverIP=127.0.0.1\n";
}

MulticastScene::MulticastScene() : group_("239.255.77.1", portOfThisProcess()) {
  std::filesystem::create_directory(folder_.path() + "/tmp");
  setenv("TMPDIR", (folder_.path() + "/tmp").c_str(), 1);
  folder_.writeFile("/sys/class/net/eth0/address", "00:11:22:33:44:55\n");
  fake::setSystemRoot(folder_.path());
  fake::setNow(now_);

  shared::groupNo = 1;
  shared::columnNo = 2;
  shared::displayNo = 3;
  shared::currentIpAddress.set(Poco::Net::IPAddress("192.168.0.20"));
  shared::startTimestamp = new Poco::Timestamp(now_);
  shared::cycleTimestamp = new Poco::Timestamp(now_);
  shared::startDateTime = new Poco::DateTime(now_);
  passSeconds(kQuietSeconds);

  shared::mcGroupAddress = group_.host();
  shared::mcPort = group_.port();
  shared::mcBindAddress = &group_;
  shared::currentInterface = loopbackInterface();
  transmitter_.bind(SocketAddress("127.0.0.1", 0));
  transmitter_.setInterface(shared::currentInterface);
}

void MulticastScene::setClock(const Poco::Timestamp& time) {
  now_ = time;
  fake::setNow(now_);
}

void MulticastScene::sendToGroup(const std::string& datagram) {
  transmitter_.sendTo(datagram.data(), static_cast<int>(datagram.size()), group_);
}

std::vector<std::string> MulticastScene::temporaryFiles() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path() + "/tmp")) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

}  // namespace quendal
