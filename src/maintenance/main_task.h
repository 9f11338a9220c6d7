// The maintenance task: the technician's stick and the link's watch.
#pragma once

#include "base/service_task.h"
#include "maintenance/link_watch.h"

#include <string>

namespace quendal {

/// The conductor of the service. Every three seconds it serves the stick and then watches the link.
///
/// A failure inside a cycle is reported and the next cycle runs; only `stopReq` or cancellation ends
/// the task.
class MainTask : public ServiceTask {
 public:
  /// Writes the flags' start values: both network tasks paused, the link down.
  ///
  /// Here and not in runTask, because no other task may see them earlier and no stop request may be
  /// wiped out by them: the application creates this task, on its main thread, before it starts any
  /// task, and that same thread raises the stop flags much later.
  MainTask();

  void runTask() override;

 private:
  void serveStick();

  LinkWatch linkWatch_;
  std::string usbDriveName_;  // empty while no drive is known
};

}  // namespace quendal
