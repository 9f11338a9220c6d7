// One connection served by a real DataServiceHandler on a real reactor's thread.
#pragma once

#include "support/error_stream_capture.h"
#include "support/loopback.h"
#include "transfer/data_reactor.h"

#include <string>
#include <thread>

namespace quendal {

/// The handler exists from the start, its reactor runs from the first call of `run` on: what was sent
/// (or reset) before lies ready then, as one segment or several.
class ServedConnection {
 public:
  ServedConnection();
  ~ServedConnection();
  ServedConnection(const ServedConnection&) = delete;
  ServedConnection& operator=(const ServedConnection&) = delete;
  ServedConnection(ServedConnection&&) = delete;
  ServedConnection& operator=(ServedConnection&&) = delete;

  void send(const std::string& bytes) { sendAll(pair_.transmitter, bytes); }
  void closeSending() { pair_.transmitter.shutdownSend(); }
  void reset() { resetConnection(pair_.transmitter); }

  void run();

  /// Runs until the handler asks for the service to be re-opened, ends the reactor as DataTask does
  /// and returns the messages between "Connection from" and "Disconnecting", which it checks.
  std::string runUntilFailure();

  /// Everything on the error stream so far.
  std::string messages() const { return capture_.text(); }

 private:
  void end();

  ErrorStreamCapture capture_;
  LoopbackPair pair_;
  DataReactor reactor_;
  std::string peer_;
  std::thread thread_;
};

}  // namespace quendal
