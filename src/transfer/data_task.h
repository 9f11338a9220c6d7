// The task that opens and closes the TCP data service.
#pragma once

#include "base/pause_handshake.h"

#include <Poco/Net/ServerSocket.h>

namespace quendal {

/// Owns the listening socket on `dataPort` and the reactor thread that serves its connections.
///
/// It does not decide when the service is open: MainTask holds it closed with `dataPauseReq` (and
/// waits for `dataPaused`), a failed connection has it re-opened with `dataReinitReq`, and
/// `dataStopReq` or cancellation ends it. No failure ends it otherwise: a port that cannot be bound is
/// tried again after ten seconds.
class DataTask : public PausableTask {
 public:
  DataTask();

  void runTask() override;

 private:
  void serve();
  void serveConnections(const Poco::Net::ServerSocket& server);
  void pause();
};

}  // namespace quendal
