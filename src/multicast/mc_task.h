// The multicast task: follows the pause handshake and the stop.
#pragma once

#include "app/service_task.h"

namespace quendal {

/// Holds the multicast side's place in the pause handshake: MainTask pauses it with `mcPauseReq` and
/// waits for `mcPaused`; `stopReq` or cancellation ends it. It opens no socket yet.
class McTask : public ServiceTask {
 public:
  McTask();

  void runTask() override;

 private:
  bool mustStop() const;
};

}  // namespace quendal
