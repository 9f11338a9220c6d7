#include "maintenance/main_task.h"

#include "base/console.h"
#include "base/guard.h"
#include "base/shared_state.h"
#include "maintenance/stick/duties.h"
#include "multicast/multicast_state.h"
#include "network/network_state.h"
#include "transfer/transfer_state.h"

namespace quendal {
namespace {

constexpr long kCycleMs = 3000;
constexpr const char* kFailureHeading = "MainTask: Exception Met!";

}  // namespace

MainTask::MainTask()
    : ServiceTask("MainTask", shared::stopReq), linkWatch_([this](long milliseconds) { sleepMs(milliseconds); }) {
  shared::carrierUpSeen = false;
  shared::stopReq = false;
  shared::dataStopReq = false;
  shared::mcPauseReq = true;
  shared::mcPaused = true;
  shared::dataPauseReq = true;
  shared::dataPaused = true;
  shared::dataReinitReq = false;
  shared::linkUpPrev = false;
  shared::linkUp = false;
}

void MainTask::runTask() {
  guard(kFailureHeading, [this] { linkWatch_.prepare(); });
  while (!mustStop() && !sleepMs(kCycleMs)) {
    // A stick that cannot be served ends the stick's duties of this cycle and nothing else: the link is
    // watched all the same.
    guard(kFailureHeading, [this] { serveStick(); });
    guard(kFailureHeading, [this] { linkWatch_.runCycle(); });
    console::flush();  // a service that is well has little to say, and what it owes must not wait for that
  }
}

void MainTask::serveStick() {
  runStickDuties(usbDriveName_, [this](long milliseconds) { return sleepMs(milliseconds); });
}

}  // namespace quendal
