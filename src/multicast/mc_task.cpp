#include "multicast/mc_task.h"

#include "app/shared_state.h"

namespace quendal {
namespace {

constexpr long kFlagPollMs = 1000;

}  // namespace

McTask::McTask() : ServiceTask("McTask") {}

void McTask::runTask() {
  while (!mustStop()) {
    shared::mcPaused = shared::mcPauseReq.load();
    sleepMs(kFlagPollMs);
  }
  shared::mcPaused = true;
}

bool McTask::mustStop() const {
  return shared::stopReq || isCancelRequested();
}

}  // namespace quendal
