#include "transfer/data_task.h"

#include "base/console.h"
#include "base/guard.h"
#include "base/shared_state.h"
#include "transfer/connection_acceptor.h"
#include "transfer/data_reactor.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Thread.h>
#include <Poco/Timespan.h>

namespace quendal {
namespace {

constexpr int kBacklog = 64;
constexpr long kReceiveTimeoutSeconds = 30;
constexpr long kFlagPollMs = 500;
constexpr long kRetryMs = 10000;

// Without SO_REUSEPORT: a second service on the same port must fail and say so, not take half of the
// connections in silence.
Poco::Net::ServerSocket openServerSocket() {
  Poco::Net::ServerSocket server;
  server.bind(Poco::Net::SocketAddress(Poco::Net::IPAddress(), shared::dataPort), true, false);
  server.listen(kBacklog);
  server.setReceiveTimeout(Poco::Timespan(kReceiveTimeoutSeconds, 0));
  return server;
}

// The thread of a reactor, which ends with it on every way out: the thread uses what is destroyed behind it.
class ReactorThread {
 public:
  explicit ReactorThread(DataReactor& reactor) : reactor_(reactor) { thread_.start(reactor); }
  ~ReactorThread() {
    reactor_.close();
    thread_.join();
  }
  ReactorThread(const ReactorThread&) = delete;
  ReactorThread& operator=(const ReactorThread&) = delete;
  ReactorThread(ReactorThread&&) = delete;
  ReactorThread& operator=(ReactorThread&&) = delete;

 private:
  DataReactor& reactor_;
  Poco::Thread thread_;
};

// A transfer that is staged ends with its stop marker or not at all.
void throwUnfinishedTransferAway() {
  if (const std::size_t count = shared::staging.discard(); count > 0) {
    console::line("A transfer has broken off, its staged files are thrown away: " + std::to_string(count));
  }
}

}  // namespace

DataTask::DataTask() : PausableTask("DataTask", shared::dataStopReq, shared::dataPauseFlags()) {}

void DataTask::runTask() {
  console::line("DataTask starting up");
  while (!mustStop()) {
    console::line("DataTask waiting for trigger to open sock...");
    if (awaitRelease() && !guard("DataTask: Exception Met!", [this] { serve(); })) {
      sleepMs(kRetryMs);
    }
    pause();
  }
  console::line("DataTask ceased to operate");
}

void DataTask::serve() {
  console::line("DataTask: init data socket...");
  Poco::Net::ServerSocket server = openServerSocket();
  serveConnections(server);
  server.close();
}

// One open period, from the first connection to the end of the last.
void DataTask::serveConnections(const Poco::Net::ServerSocket& server) {
  DataReactor reactor;
  const ConnectionAcceptor acceptor(server, reactor);
  console::line("data sock OK!");
  {
    const ReactorThread thread(reactor);
    while (!mustPause() && !shared::dataReinitReq) {
      sleepMs(kFlagPollMs);
    }
    console::line("data sock Paused!");
  }
  // Only now: until its thread has ended, a connection may still fail and ask for what is under way.
  shared::dataReinitReq = false;
  throwUnfinishedTransferAway();
}

void DataTask::pause() {
  console::line("DataTask: triggered to pause, closing sock...");
  reportPaused();
  console::line("DataTask paused");
}

}  // namespace quendal
