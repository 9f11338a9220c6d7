// A steady stream of multicast datagrams of 1316 bytes, the size that carries seven packets of an MPEG
// transport stream.
//
// Sends what is due every millisecond and prints the number sent. Usage:
// video_stream_sender GROUP PACKETS_PER_SECOND SECONDS

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kDatagramSize = 1316;
constexpr in_port_t kPort = 5000;
constexpr std::chrono::milliseconds kPace(1);

bool sendOne(int stream) {
  static constexpr std::array<char, kDatagramSize> kDatagram{};
  return send(stream, kDatagram.data(), kDatagram.size(), 0) == static_cast<ssize_t>(kDatagram.size());
}

int openStream(const char* group) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kPort);
  const int stream = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (inet_pton(AF_INET, group, &address.sin_addr) != 1 ||
      connect(stream, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return -1;
  }
  return stream;
}

// A datagram that cannot leave now is sent again in the next millisecond.
long sendSteadily(int stream, double packetsPerSecond, double seconds) {
  const Clock::time_point begin = Clock::now();
  const long total = static_cast<long>(packetsPerSecond * seconds);
  long sent = 0;
  for (Clock::time_point tick = begin; sent < total; tick += kPace) {
    std::this_thread::sleep_until(tick);
    const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
    while (sent < total && static_cast<double>(sent) < elapsed * packetsPerSecond && sendOne(stream)) {
      ++sent;
    }
  }
  return sent;
}

}  // namespace

int main(int argc, char** argv) {
  const int stream = argc == 4 ? openStream(argv[1]) : -1;
  if (stream < 0) {
    std::fputs("usage: video_stream_sender GROUP PACKETS_PER_SECOND SECONDS\n", stderr);
    return EXIT_FAILURE;
  }
  std::printf("%ld\n", sendSteadily(stream, std::strtod(argv[2], nullptr), std::strtod(argv[3], nullptr)));
  return EXIT_SUCCESS;
}
