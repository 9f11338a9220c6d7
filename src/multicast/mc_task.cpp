#include "multicast/mc_task.h"

#include "base/console.h"
#include "base/guard.h"
#include "base/platform.h"
#include "base/retry.h"
#include "base/shared_state.h"
#include "multicast/alive_check.h"
#include "multicast/datagram.h"
#include "multicast/mc_schedule.h"
#include "multicast/multicast_state.h"
#include "multicast/replies.h"
#include "multicast/reply_packet.h"
#include "multicast/temporary_data.h"
#include "network/network_state.h"

#include <Poco/Clock.h>
#include <Poco/Exception.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/TemporaryFile.h>
#include <Poco/Timespan.h>

#include <algorithm>
#include <array>
#include <string>
#include <tuple>

namespace quendal {
namespace {

constexpr long kPauseMs = 1000;
constexpr const char* kFailureHeading = "McTask: Exception Met!";

McSocketState openSocket() {
  console::line("McTask: trigger has arrived, init/re-init mc socket...");
  const McSocketState opened = openMulticastSocket();
  console::write("mc thread resume!\n");
  return opened;
}

void saveFileData(std::span<const std::byte> data) {
  std::string& path = shared::mcRxRecord.filePath;
  path = Poco::TemporaryFile::tempName();
  const TemporarySaving saving = saveTemporaryData(path, data);
  if (saving == TemporarySaving::kNotOpened) {
    console::line("file open failed when saving Rx file element");
  }
  if (saving != TemporarySaving::kSaved) {
    path.clear();  // what stands there is not ours: neither to read nor to remove
  }
}

int readHour() {
  *shared::cycleTimestamp = platform::now();
  shared::cycleDateTime = *shared::cycleTimestamp;
  return shared::cycleDateTime.hour();
}

// Lives as long as the process: senders may read it until the end.
void makeBindAddress() {
  shared::mcBindAddress = new Poco::Net::SocketAddress(shared::mcGroupAddress.toString(), shared::mcPort);
}

void rememberRelaunch(int hour) {
  shared::lastRelaunchHour = hour;
  console::write("relauching mcast thread at hour:" + std::to_string(hour) + "...");
}

}  // namespace

McTask::McTask() : PausableTask("McTask", shared::stopReq, shared::mcPauseFlags()) {}

void McTask::runTask() {
  while (!mustStop() && !guard(kFailureHeading, &makeBindAddress)) {
    sleepMs(kPauseMs);
  }
  while (!mustStop()) {
    const bool served = guard(kFailureHeading, [this] {
      if (awaitRelease()) {
        serve(openSocket());
      }
    });
    if (!served) {
      sleepMs(kPauseMs);
    }
    pause();
  }
  console::line("McTask ceased to operate");
}

void McTask::pause() {
  console::line("McTask: triggered to pause, closing sock...");
  closeMulticastSocket();
  reportPaused();
  console::line("McTask paused");
}

void McTask::serve(McSocketState opened) {
  lastAttempt_ = platform::now();
  if (opened == McSocketState::kClosed) {
    awaitRetry();
    return;
  }
  isSettled_ = opened == McSocketState::kSettled;
  receiveUntilPause();
}

// In steps that are no longer than a receive: a pause or a stop does not wait for the ten seconds.
void McTask::awaitRetry() {
  while (!mustPause() && !isRetryDue(lastAttempt_, platform::now())) {
    sleepMs(kPauseMs);
  }
}

// One open period of the socket.
void McTask::receiveUntilPause() {
  unsigned timeoutCount = 0;  // of this period: datagrams do not reset it
  while (!mustPause()) {
    const Reception reception = receiveDatagram();
    if (reception == Reception::kTimeout && isHeartbeatDue(++timeoutCount)) {
      sendHeartbeat();
    }
    // Asked of the last datagram and not of this reception: after a time-out or an error the one before
    // is handled once more. This is required, and the alive check keeps the replies apart.
    if (lastLength_ > 0) {
      handleDatagram();
    }
    if (lastLength_ <= 0 || reception == Reception::kFailure) {
      sleepMs(kPauseMs);
    }
    settleWhenDue();
    const int hour = readHour();
    if (isRelaunchDue(hour, shared::lastRelaunchHour, shared::mcRstHrFactor)) {
      rememberRelaunch(hour);
      return;
    }
  }
}

McTask::Reception McTask::receiveDatagram() {
  try {
    return receiveAllowed();
  } catch (const Poco::TimeoutException&) {
    return Reception::kTimeout;
  } catch (const std::exception& failure) {
    console::failure("McTask: Exception Met during receive/listen!", failure, "Exception Info:");
    return Reception::kFailure;
  }
}

// What comes from elsewhere is forgotten as if it had never come: it neither takes the last datagram's place nor
// puts a time-out off. Each is received beside the buffer, of which a shorter datagram leaves the rest as it was.
McTask::Reception McTask::receiveAllowed() {
  const Poco::Clock start;
  const Poco::Timespan timeout(kMulticastTimeoutSeconds, 0);
  std::array<std::byte, std::tuple_size_v<decltype(shared::mcRxBuffer)>> received{};
  for (;;) {
    Poco::Net::SocketAddress sender;
    const int length = shared::mcSocket.receiveFrom(received.data(), static_cast<int>(received.size()), sender);
    if (shared::allowedSenders.allows(sender.host())) {
      std::copy_n(received.begin(), length, shared::mcRxBuffer.begin());
      lastLength_ = length;
      shared::mcSender = sender.host();
      return Reception::kDatagram;
    }
    const Poco::Timespan remaining = timeout - Poco::Timespan(start.elapsed());
    if (remaining <= 0 || !shared::mcSocket.poll(remaining, Poco::Net::Socket::SELECT_READ)) {
      return Reception::kTimeout;
    }
  }
}

void McTask::settleWhenDue() {
  if (isSettled_ || !isRetryDue(lastAttempt_, platform::now())) {
    return;
  }
  lastAttempt_ = platform::now();
  isSettled_ = settleMulticastSocket();
  if (isSettled_) {
    console::line("McTask: multicast group joined");
  }
}

void McTask::sendHeartbeat() {
  buildHeartbeat(shared::mcReplyRecord);
  sleepMs(kPauseMs);
  if (!mustPause()) {
    Send_mcLCDpacket(shared::mcReplyRecord);
  }
}

void McTask::handleDatagram() {
  const TemporaryDataRemover fileRemover(shared::mcRxRecord.filePath);
  const DatagramContent content = unpackDatagram(shared::mcRxBuffer, shared::mcRxRecord);
  console::write(datagramReport(content, shared::mcRxRecord.sigWord));
  if (!content.fits) {
    return;
  }
  if (content.fileData) {
    saveFileData(*content.fileData);
  }
  try {
    handleMcPacket();
  } catch (const std::exception&) {
    // A reply that could not be prepared: the next datagram, or this one again, tries anew.
    sleepMs(kPauseMs);
  }
}

}  // namespace quendal
