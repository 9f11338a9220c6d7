// The maintenance task: the technician's stick and the link watchdog.
#pragma once

#include "app/service_task.h"

#include <Poco/File.h>
#include <Poco/Net/NetworkInterface.h>

#include <string>

namespace quendal {

/// The conductor of the service. Every three seconds it serves the stick, decides whether the link is
/// up, and on a change pauses or resumes the network tasks and tells the display application.
/// docs/handshakes.md shows the handshake.
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
  void prepare();
  void runCycle();
  void runUsbDuties();

  bool isLinkUp();
  bool refreshLink();
  bool hasCachedInterface() const;
  void rememberLinkedAddress(const Poco::Net::NetworkInterface& interface);

  void handleLinkUp();
  void handleLinkDown();
  void releaseNetworkTasks();
  void pauseNetworkTasks();

  bool mustStop() const;

  std::string usbDriveName;  // empty while no drive is known
  Poco::File carrierFile;
  Poco::Net::NetworkInterface::List interfaces;
};

}  // namespace quendal
