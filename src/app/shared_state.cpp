#include "app/shared_state.h"

namespace quendal::shared {

Poco::Net::IPAddress mcGroupAddress;
std::uint16_t mcPort = 0;
std::int32_t mcTtl = 1;
std::int32_t mcRstHrFactor = 4;
std::uint16_t dataPort = 0;
std::string idFilePath;
std::uint16_t groupNo = 0;
std::uint16_t columnNo = 0;
std::uint16_t displayNo = 0;
std::string targetRootDir;
std::string usbSourceListFile = "KVFILE_XFER_INSTRU.spt";
std::string tempDestDir;
std::string staticIp;
std::string staticNetmask;
std::string staticGateway;
std::string staticDns;
Flag staticIpMode = false;
std::string netIfName = "eth0";
std::string carrierFilePath = "/sys/class/net/eth0/carrier";
const std::string linkedIfName = "eth0";

bool mcReplyByTcp = false;
std::uint32_t dataPortValue = 0;
std::string tcpServerIp;

Poco::Timestamp* startTimestamp = nullptr;
Poco::Timestamp* cycleTimestamp = nullptr;
Poco::DateTime* startDateTime = nullptr;

Poco::Net::MulticastSocket mcSocket;
Poco::Net::NetworkInterface currentInterface(static_cast<unsigned>(-1));
SharedIpAddress currentIpAddress;
const Poco::Net::SocketAddress* mcBindAddress = nullptr;
std::array<char, 128> shellCmdBuf{};
std::array<char, 5> carrierReadBuf{};

Flag carrierUpSeen = false;
Flag stopReq = false;
Flag dataStopReq = false;
Flag auxStopReq = false;
Flag dataReinitReq = false;
Flag dataPauseReq = false;
Flag dataPaused = false;
Flag mcPauseReq = false;
Flag mcPaused = false;
Flag linkUp = false;
Flag linkUpPrev = false;

Flag dontCareMode = false;
std::array<std::byte, 1024> fileChunkBuffer{};
LcdPacketRecord dataRxRecord;
LcdPacketRecord spareRecord;

LcdPacketRecord mcRxRecord;
LcdPacketRecord mcReplyRecord;
std::array<std::byte, 1000> mcRxBuffer{};
std::array<std::byte, 4096> mcSendBuffer{};
std::int32_t lastRelaunchHour = -1;
Poco::DateTime cycleDateTime;

Flag usbDrivePresent = false;
Flag logDataMode = false;

Counter videoPacketCount = 0;
Counter videoPacketsPerSecond = 0;
Counter videoIdleSeconds = 0;
Flag videoWatchEnabled = false;
Flag videoCaptureReopenReq = false;
std::string videoMcAddress;

}  // namespace quendal::shared
