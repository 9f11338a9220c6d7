#include "transfer/data_task.h"

#include "app/console.h"
#include "app/shared_state.h"
#include "transfer/connection_acceptor.h"
#include "transfer/data_reactor.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Thread.h>
#include <Poco/Timespan.h>

namespace quendal {
namespace {

constexpr int kBacklog = 64;
constexpr long kReceiveTimeoutSeconds = 30;
constexpr long kReleasePollMs = 1000;
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

}  // namespace

DataTask::DataTask() : ServiceTask("DataTask") {}

void DataTask::runTask() {
  console::line("DataTask starting up");
  while (!mustStop()) {
    console::line("DataTask waiting for trigger to open sock...");
    if (waitForRelease()) {
      try {
        serve();
      } catch (const std::exception& failure) {
        console::failure("DataTask: Exception Met!", failure);
        sleepMs(kRetryMs);
      }
    }
    pause();
  }
  console::line("DataTask ceased to operate");
}

// Waits while the service has to stay closed; false: the task has to end.
bool DataTask::waitForRelease() {
  while (shared::dataPauseReq) {
    if (mustStop() || sleepMs(kReleasePollMs)) {
      break;
    }
  }
  return !mustStop();
}

void DataTask::serve() {
  shared::dataPaused = false;
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
  Poco::Thread reactorThread;
  reactorThread.start(reactor);

  while (!shared::dataPauseReq && !shared::dataReinitReq && !mustStop()) {
    sleepMs(kFlagPollMs);
  }

  console::line("data sock Paused!");
  reactor.close();
  reactorThread.join();
  // Only now: until its thread has ended, a connection may still fail and ask for what is under way.
  shared::dataReinitReq = false;
}

void DataTask::pause() {
  console::line("DataTask: triggered to pause, closing sock...");
  shared::dataPaused = true;
  console::line("DataTask paused");
}

bool DataTask::mustStop() const {
  return shared::dataStopReq || isCancelRequested();
}

}  // namespace quendal
