// The reception of file elements by itself: one end of a connection and no reactor, all on the test's own thread.
#pragma once

#include "base/shared_state.h"
#include "support/error_stream_capture.h"
#include "support/loopback.h"
#include "transfer/file_reception.h"
#include "transfer/transfer_state.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace quendal {

/// What has come of file elements: the result of the last one, and everything that was written.
struct Received {
  unsigned code;
  std::string messages;

  bool operator==(const Received&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Received& received) {
  return out << received.code << ' ' << received.messages;
}

/// A connection whose header and command status have been read: what is sent lies ready for the reception.
class FileStage {
 public:
  void send(const std::string& bytes) { sendAll(pair_.transmitter, bytes); }
  void closeSending() { pair_.transmitter.shutdownSend(); }
  void reset() { resetConnection(pair_.transmitter); }

  /// Reads one file element.
  unsigned receive() { return reception_.DataRxFileElement(); }

 private:
  LoopbackPair pair_ = connectLoopback();
  PacketReader reader_{pair_.accepted, {.stop = shared::dataStopReq, .pause = shared::dataPauseReq}};
  FileReception reception_{reader_};
};

/// Has the elements received one by one on a connection that is closed behind them.
inline Received receiveFiles(const std::vector<std::string>& elements) {
  const ErrorStreamCapture capture;
  FileStage stage;
  for (const std::string& element : elements) {
    stage.send(element);
  }
  stage.closeSending();
  unsigned code = 0;
  for (std::size_t count = 0; count < elements.size(); ++count) {
    code = stage.receive();
  }
  return {.code = code, .messages = capture.text()};
}

}  // namespace quendal
