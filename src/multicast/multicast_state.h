// The process-wide variables of the multicast service.
//
// base/shared_state.h says what keeps them safe. Unless said otherwise, McTask's thread alone uses them once
// the tasks run.
#pragma once

#include "base/flags.h"
#include "base/pause_handshake.h"
#include "multicast/attempt_limit.h"
#include "transfer/packet/lcd_packet_record.h"

#include <Poco/DateTime.h>
#include <Poco/Net/IPAddress.h>
#include <Poco/Net/MulticastSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Timestamp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace quendal::shared {

// --- Configuration: written by the start-up, then only read ---

extern Poco::Net::IPAddress mcGroupAddress;
extern std::uint16_t mcPort;
extern std::int32_t mcTtl;
extern std::int32_t mcRstHrFactor;  // hours

// --- Where a reply goes: set by the start-up, then rewritten by alive requests ---

extern bool mcReplyByTcp;
extern std::uint32_t dataPortValue;  // becomes the port of the transmitter's server
extern std::string tcpServerIp;      // becomes the address of the transmitter's server

// --- The socket: McTask's; closed by MainTask as well once McTask reports paused ---

extern Poco::Net::MulticastSocket mcSocket;
extern const Poco::Net::SocketAddress* mcBindAddress;  // group and port: built once by McTask
extern Flag mcPauseReq;  // keep the multicast socket closed: written by MainTask, read by McTask
extern Flag mcPaused;    // the multicast socket is closed: written by McTask, read by MainTask

/// The two flags of McTask's pause handshake.
PauseFlags mcPauseFlags();

// --- Times: set by the start-up, which creates the first three; those are never destroyed ---

extern Poco::Timestamp* startTimestamp;  // refreshed by the alive check
extern Poco::Timestamp* cycleTimestamp;  // refreshed by McTask
extern Poco::DateTime* startDateTime;    // of the last alive reply
extern Poco::DateTime cycleDateTime;     // of cycleTimestamp
extern std::int32_t lastRelaunchHour;

// --- Connections for replies, as the alive check has made them ---

extern AttemptLimit replyAttempts;

// --- Packets ---

extern Poco::Net::IPAddress mcSender;  // who has sent the last datagram: McTask, alive check
extern LcdPacketRecord mcRxRecord;
extern LcdPacketRecord mcReplyRecord;
extern std::array<std::byte, 1000> mcRxBuffer;
extern std::array<std::byte, 4096> mcSendBuffer;

}  // namespace quendal::shared
