#include "capture/capture_network.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace quendal {
namespace {

constexpr const char* kSenderInterface = "sender0";
constexpr std::size_t kDatagramSize = 1316;
constexpr in_port_t kPort = 5000;

}  // namespace

void runIp(const std::string& arguments) {
  if (std::system(("ip " + arguments).c_str()) != 0) {  // NOLINT(concurrency-mt-unsafe, cert-env33-c)
    throw std::runtime_error("failed: ip " + arguments);
  }
}

void plugCable() {
  runIp(std::string("link add ") + kWatchedInterface + " type veth peer name " + kSenderInterface);
  runIp(std::string("link set ") + kWatchedInterface + " up");
  runIp(std::string("link set ") + kSenderInterface + " up");
  runIp(std::string("address add 192.0.2.1/24 dev ") + kSenderInterface);
}

void removeCable() {
  if (if_nametoindex(kWatchedInterface) != 0) {
    runIp(std::string("link delete ") + kWatchedInterface);
  }
}

StreamSender::StreamSender() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  ip_mreqn outgoing{};
  outgoing.imr_ifindex = static_cast<int>(if_nametoindex(kSenderInterface));
  if (setsockopt(socket_, IPPROTO_IP, IP_MULTICAST_IF, &outgoing, sizeof outgoing) != 0) {
    throw std::runtime_error("the sender has no way out");
  }
}

StreamSender::~StreamSender() {
  close(socket_);
}

void StreamSender::send(const std::string& group, int count) const {
  static constexpr std::array<char, kDatagramSize> kDatagram{};
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kPort);
  inet_pton(AF_INET, group.c_str(), &address.sin_addr);
  for (int datagram = 0; datagram < count; ++datagram) {
    if (sendto(socket_, kDatagram.data(), kDatagram.size(), 0, reinterpret_cast<const sockaddr*>(&address),
               sizeof address) < 0) {
      throw std::runtime_error("a datagram could not be sent");
    }
  }
}

}  // namespace quendal
