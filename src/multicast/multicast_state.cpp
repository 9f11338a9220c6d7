#include "multicast/multicast_state.h"

namespace quendal::shared {

Poco::Net::IPAddress mcGroupAddress;
std::uint16_t mcPort = 0;
std::int32_t mcTtl = 1;
std::int32_t mcRstHrFactor = 4;

bool mcReplyByTcp = false;
std::uint32_t dataPortValue = 0;
std::string tcpServerIp;

Poco::Net::MulticastSocket mcSocket;
const Poco::Net::SocketAddress* mcBindAddress = nullptr;
Flag mcPauseReq = false;
Flag mcPaused = false;

Poco::Timestamp* startTimestamp = nullptr;
Poco::Timestamp* cycleTimestamp = nullptr;
Poco::DateTime* startDateTime = nullptr;
Poco::DateTime cycleDateTime{Poco::Timestamp(0)};
std::int32_t lastRelaunchHour = -1;

AttemptLimit replyAttempts;

Poco::Net::IPAddress mcSender;
LcdPacketRecord mcRxRecord;
LcdPacketRecord mcReplyRecord;
std::array<std::byte, 1000> mcRxBuffer{};
std::array<std::byte, 4096> mcSendBuffer{};

PauseFlags mcPauseFlags() {
  return {.request = mcPauseReq, .paused = mcPaused};
}

}  // namespace quendal::shared
