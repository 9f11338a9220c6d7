// Reception of a file element: the file is stored, and what its name asks for is done.
#pragma once

#include "transfer/packet_reader.h"
#include "transfer/store/staging.h"
#include "transfer/transfer_end.h"

#include <array>
#include <cstdint>
#include <string>

namespace quendal {

/// Reads file elements from one connection, whose header and command status have been read. Runs on the reactor
/// thread; the reader must outlive it.
class FileReception {
 public:
  explicit FileReception(PacketReader& reader) : reader_(reader) {}

  /// Reads one file element into `dataRxRecord` and the file that it names, below the directory of the transfer
  /// mode, and carries out what the name asks for: mode, events, archive log, reboot.
  ///
  /// Returns 0 when the file is stored (or was cut short by the peer), else 1, 3, 257, 259 or 769, without
  /// kFileElementErrorBase; its messages have then been written. A stop marker waits for 5 s, and so does a
  /// failed store; both wait on until the disk has what was stored before: see TransferEnd.
  unsigned DataRxFileElement();

 private:
  unsigned readFileName(Deadline& deadline);
  unsigned receiveNamedFile(Deadline& deadline);
  void applyControlEffects(const std::string& name, Deadline& deadline);
  void endTransfer();
  void putStagedIntoPlace(bool isOnDisk);
  static Staging::Place placeOfFile(const std::string& directory);
  bool storeFileData(const std::string& directory, std::uint32_t dataLength);
  void rebootIfAsked();

  PacketReader& reader_;
  TransferEnd end_;
  std::array<char, 1024> nameScratch{};  // the received name in lower case
};

}  // namespace quendal
