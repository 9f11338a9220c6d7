// One accepted connection of the data service.
#pragma once

#include "transfer/data_reactor.h"
#include "transfer/packet_reader.h"
#include "transfer/read_stages.h"

#include <Poco/AutoPtr.h>
#include <Poco/Net/SocketNotification.h>
#include <Poco/Net/StreamSocket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace quendal {

/// Reads packets from one connection and stores the files that they carry.
///
/// Created by ConnectionAcceptor with new; deletes itself when the reactor shuts down. Everything
/// runs on the reactor thread, which is also what keeps `dataRxRecord` and `fileChunkBuffer` safe.
/// One notification reads one whole packet with blocking reads, so a packet holds up every other
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
  void onReadable(const Poco::AutoPtr<Poco::Net::ReadableNotification>& notification);

  /// Deletes the handler.
  void onShutdown(const Poco::AutoPtr<Poco::Net::ShutdownNotification>& notification);

 private:
  // Each reads its element into dataRxRecord and returns 0, or the code that ends the connection.
  unsigned readPacket();
  unsigned DataProcHeader();
  unsigned DataRxCmdStatus();

  // Reads a file element, stores the file and does what its name asks for. Returns 0 when the file is
  // stored (or was cut short by the peer), else 1, 3, 257, 259 or 769, without the base.
  unsigned DataRxFileElement();

  unsigned readFileName(Deadline& deadline);
  void applyControlEffects(Deadline& deadline);
  bool storeFileData(const std::string& directory, std::uint32_t dataLength);
  void rebootIfAsked();

  // One read with its messages: 0, or the stage's code.
  unsigned readStage(const ReadStage& stage, std::span<std::byte> bytes, const Deadline& deadline);

  std::array<char, 1024> nameScratch{};  // the received name in lower case
  Poco::Net::StreamSocket socket;
  DataReactor& reactor;
  std::string peer;  // kept: a socket that was reset can no longer be asked
  PacketReader reader;
};

}  // namespace quendal
