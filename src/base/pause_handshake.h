// The pause handshake between MainTask, which asks, and a network task, which reports.
//
// docs/handshakes.md draws it. While a task reports paused it keeps off its socket, and MainTask may touch
// what the two share.
#pragma once

#include "base/flags.h"
#include "base/service_task.h"

#include <functional>
#include <string>

namespace quendal {

/// The two flags of one network task. Their order is all that the handshake needs: they are sequentially
/// consistent.
struct PauseFlags {
  Flag& request;  // written by MainTask
  Flag& paused;   // written by the task
};

/// MainTask's side: asks for the pause and returns once the task reports it, however long that takes; calls
/// `poll` before each further look. A network task always reports in the end, also when it stops.
void pauseTask(const PauseFlags& flags, const std::function<void()>& poll);

/// MainTask's side: lets the task go on.
void releaseTask(const PauseFlags& flags);

/// The task's side.
class PausableTask : public ServiceTask {
 protected:
  PausableTask(const std::string& name, const Flag& stopReq, const PauseFlags& flags)
      : ServiceTask(name, stopReq), flags_(flags) {}

  /// Waits, looking once a second, until the task is released and has taken over; false: it has to end.
  bool awaitRelease();

  /// Must the task let go of what it has taken over?
  bool mustPause() const { return flags_.request || mustStop(); }

  /// Tells MainTask that the task has let go.
  void reportPaused() { flags_.paused = true; }

 private:
  bool takeOver();

  PauseFlags flags_;
};

}  // namespace quendal
