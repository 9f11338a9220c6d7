// The multicast task: receives the transmitter's datagrams, replies to alive requests, sends heartbeats.
#pragma once

#include "base/pause_handshake.h"
#include "multicast/mc_socket.h"

#include <Poco/Timestamp.h>

namespace quendal {

/// Owns the multicast socket's life: opens it when MainTask releases it, receives one datagram at a
/// time and hands each to the alive check, sends a heartbeat while the group is quiet, opens the socket
/// anew at certain hours of the day, and closes it for a pause or the end. Every ten seconds it opens a socket
/// anew that could not be bound, and tries to join a group that could not be joined. What a host sends that is not
/// in `allowedSenders` it does not know.
///
/// MainTask pauses it with `mcPauseReq` and waits for `mcPaused` (docs/handshakes.md); `stopReq` or
/// cancellation ends it. No failure ends it otherwise.
class McTask : public PausableTask {
 public:
  McTask();

  void runTask() override;

 private:
  enum class Reception { kDatagram, kTimeout, kFailure };

  void pause();
  void serve(McSocketState opened);
  void awaitRetry();
  void receiveUntilPause();
  Reception receiveDatagram();
  Reception receiveAllowed();
  void settleWhenDue();
  void sendHeartbeat();
  void handleDatagram();

  bool isSettled_ = false;          // the open socket lacks nothing
  Poco::Timestamp lastAttempt_{0};  // to open or settle the socket
  int lastLength_ = 0;              // of the last datagram, which stays in `mcRxBuffer`; outlives a re-opening
};

}  // namespace quendal
