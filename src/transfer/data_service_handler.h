// One accepted connection of the data service.
#pragma once

#include "transfer/data_reactor.h"
#include "transfer/file_reception.h"
#include "transfer/packet_reader.h"

#include <Poco/Net/StreamSocket.h>

#include <string>

namespace quendal {

/// Reads packets from one connection and stores the files that they carry.
///
/// Created by ConnectionAcceptor with new; deletes itself when the reactor shuts down. Everything
/// runs on the reactor thread, which is also what keeps `dataRxRecord` and `fileChunkBuffer` safe.
/// One call of onReadable reads one whole packet with blocking reads, so a packet holds up every other
/// connection until it is complete. Nothing is ever sent back.
class DataServiceHandler {
 public:
  /// Logs "Connection from <peer>" and registers with `dispatcher`. Throws, with nothing registered,
  /// when the connection has already been reset.
  DataServiceHandler(const Poco::Net::StreamSocket& accepted, DataReactor& dispatcher);

  /// Logs "Disconnecting <peer>" and leaves the reactor.
  ~DataServiceHandler();

  DataServiceHandler(const DataServiceHandler&) = delete;
  DataServiceHandler& operator=(const DataServiceHandler&) = delete;
  DataServiceHandler(DataServiceHandler&&) = delete;
  DataServiceHandler& operator=(DataServiceHandler&&) = delete;

  /// Reads one packet. A failure is logged with its code, asks DataTask to re-open the service and
  /// then waits for that: see DataReactor.
  void onReadable();

  /// Deletes the handler.
  void onShutdown();

 private:
  // Each reads its element into dataRxRecord and returns 0, or the code that ends the connection.
  unsigned readPacket();
  unsigned DataProcHeader();
  unsigned DataRxCmdStatus();

  Poco::Net::StreamSocket socket;
  DataReactor& reactor;
  std::string peer_;  // kept: a socket that was reset can no longer be asked
  PacketReader reader_;
  FileReception fileReception_{reader_};
};

}  // namespace quendal
