#include "base/pause_handshake.h"

namespace quendal {
namespace {

constexpr long kReleasePollMs = 1000;

}  // namespace

void pauseTask(const PauseFlags& flags, const std::function<void()>& poll) {
  flags.request = true;
  while (!flags.paused) {
    poll();
  }
}

void releaseTask(const PauseFlags& flags) {
  flags.request = false;
}

bool PausableTask::awaitRelease() {
  while (!mustStop() && !takeOver()) {
    sleepMs(kReleasePollMs);
  }
  return !mustStop();
}

// The request is looked at once more behind the report: raised in between, it has seen the task still
// paused, and MainTask has gone on.
bool PausableTask::takeOver() {
  if (flags_.request) {
    return false;
  }
  flags_.paused = false;
  if (!flags_.request) {
    return true;
  }
  flags_.paused = true;
  return false;
}

}  // namespace quendal
