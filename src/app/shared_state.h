// The process-wide variables by which the tasks work together.
//
// Three rules keep them safe without locks:
//   - configuration is written by the start-up before the first task runs and only read afterwards;
//   - flags and counters are lock-free atomics, each with its writers and readers named here;
//   - sockets, interfaces and addresses change hands only under the pause handshake that
//     docs/handshakes.md draws: MainTask touches them while the network tasks report paused.
// Functions take values; only the tasks, the start-up and the argument-less routines look in here.
#pragma once

#include "transfer/lcd_packet_record.h"

#include <Poco/DateTime.h>
#include <Poco/Net/IPAddress.h>
#include <Poco/Net/MulticastSocket.h>
#include <Poco/Net/NetworkInterface.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Timestamp.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace quendal {

using Flag = std::atomic<bool>;
static_assert(Flag::is_always_lock_free);
using Counter = std::atomic<std::uint32_t>;
static_assert(Counter::is_always_lock_free);

/// An address that one thread replaces while another may be reading it.
class SharedIpAddress {
 public:
  Poco::Net::IPAddress get() const {
    const std::scoped_lock lock(mutex_);
    return address_;
  }
  void set(const Poco::Net::IPAddress& address) {
    const std::scoped_lock lock(mutex_);
    address_ = address;
  }

 private:
  mutable std::mutex mutex_;
  Poco::Net::IPAddress address_;  // the IPv4 wildcard until set
};

namespace shared {

// --- Configuration: written by the start-up (startup_config.cpp), then only read ---

extern Poco::Net::IPAddress mcGroupAddress;  // read by McTask
extern std::uint16_t mcPort;                 // read by McTask
extern std::int32_t mcTtl;                   // read by McTask
extern std::int32_t mcRstHrFactor;           // hours; read by McTask
extern std::uint16_t dataPort;               // read by DataTask
extern std::string idFilePath;               // start-up only
extern std::uint16_t groupNo;                // the display's identity: read by the alive check and
extern std::uint16_t columnNo;               //   descriptor and the stick's import
extern std::uint16_t displayNo;
extern std::string targetRootDir;      // read by file reception and distribution
extern std::string usbSourceListFile;  // read by the stick's distribution
extern std::string tempDestDir;        // read by file reception
extern std::string staticIp;           // the four of a static address: read by refreshNetworkAddress
extern std::string staticNetmask;
extern std::string staticGateway;
extern std::string staticDns;
extern Flag staticIpMode;               // read by refreshNetworkAddress
extern std::string netIfName;           // read by the address set-up, MainTask, the descriptor, the video tasks
extern std::string carrierFilePath;     // read by the address set-up and MainTask
extern const std::string linkedIfName;  // the wired interface's fixed name: read by findLinkedInterface

// --- Set by the start-up, then owned by the multicast side (McTask's thread) ---

extern bool mcReplyByTcp;            // rewritten on every alive request
extern std::uint32_t dataPortValue;  // becomes the port of the transmitter's server
extern std::string tcpServerIp;      // becomes the address of the transmitter's server

// --- Start-time objects: created once by the start-up and never destroyed ---

extern Poco::Timestamp* startTimestamp;  // refreshed by the alive check
extern Poco::Timestamp* cycleTimestamp;  // refreshed by McTask
extern Poco::DateTime* startDateTime;    // time of the last alive answer: the alive check

// --- Network objects: change hands under the pause handshake ---

extern Poco::Net::MulticastSocket mcSocket;            // McTask; closed by MainTask once McTask is paused
extern Poco::Net::NetworkInterface currentInterface;   // written by MainTask at link-up, read by McTask
extern SharedIpAddress currentIpAddress;               // written by MainTask, also while McTask may read it
extern const Poco::Net::SocketAddress* mcBindAddress;  // built once by McTask
extern std::array<char, 128> shellCmdBuf;              // start-up, then MainTask
extern std::array<char, 5> carrierReadBuf;             // MainTask

// --- Flags ---

extern Flag carrierUpSeen;  // an address was configured: set by MainTask, cleared by refreshNetworkAddress
extern Flag stopReq;        // ends MainTask, McTask and the video tasks: set by the application at shutdown
extern Flag dataStopReq;    // ends DataTask: set by the application at shutdown
extern Flag auxStopReq;     // set by the application at shutdown; nobody reads it
extern Flag dataReinitReq;  // re-open the data service: set by a connection handler, cleared by DataTask
extern Flag dataPauseReq;   // keep the data service closed: written by MainTask, read by DataTask
extern Flag dataPaused;     // the data service is closed: written by DataTask, read by MainTask
extern Flag mcPauseReq;     // keep the multicast socket closed: written by MainTask, read by McTask
extern Flag mcPaused;       // the multicast socket is closed: written by McTask, read by MainTask
extern Flag linkUp;         // the link as judged now: MainTask, refreshNetworkAddress; read by the video tasks
extern Flag linkUpPrev;     // the link as judged in the previous cycle: MainTask

// --- Transfer ---

extern Flag dontCareMode;                            // received files go to tempDestDir: file reception
extern std::array<std::byte, 1024> fileChunkBuffer;  // file reception
extern LcdPacketRecord dataRxRecord;                 // reactor thread
extern LcdPacketRecord spareRecord;                  // nobody

// --- Multicast: McTask's thread only ---

extern LcdPacketRecord mcRxRecord;
extern LcdPacketRecord mcReplyRecord;
extern std::array<std::byte, 1000> mcRxBuffer;
extern std::array<std::byte, 4096> mcSendBuffer;
extern std::int32_t lastRelaunchHour;
extern Poco::DateTime cycleDateTime;

// --- The technician's stick ---

extern Flag usbDrivePresent;  // MainTask
extern Flag logDataMode;      // raw data is exported and not the logs: MainTask

// --- Video watch ---

extern Counter videoPacketCount;       // written by the capture, read by VideoMcWatchTask
extern Counter videoPacketsPerSecond;  // VideoMcWatchTask
extern Counter videoIdleSeconds;       // VideoMcWatchTask
extern Flag videoWatchEnabled;         // set by the start-up, read by VideoMcWatchTask
extern Flag videoCaptureReopenReq;     // set by the start-up and the init task, which also clears it
extern std::string videoMcAddress;     // written by the start-up, read by VideoMcWatchInitTask

}  // namespace shared
}  // namespace quendal
