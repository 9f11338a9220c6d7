#include "transfer/file_reception.h"

#include "base/archive_log.h"
#include "base/console.h"
#include "base/fenced_file.h"
#include "base/platform.h"
#include "base/shared_state.h"
#include "base/system_commands.h"
#include "base/text.h"
#include "ipc/semaphore_table.h"
#include "transfer/packet/byte_order.h"
#include "transfer/packet/control_files.h"
#include "transfer/packet/lcd_packet.h"
#include "transfer/read_stages.h"
#include "transfer/store/staging_folder.h"
#include "transfer/store/store_state.h"
#include "transfer/transfer_state.h"

#include <Poco/Exception.h>

#include <algorithm>

namespace quendal {
namespace {

// The display application needs this long to let go of what it shows before a transfer counts as over.
constexpr std::chrono::milliseconds kTransferEndWait{5000};
constexpr std::chrono::milliseconds kFailedTransferWait{5000};
constexpr long kRebootWaitMs = 3000;

}  // namespace

unsigned FileReception::DataRxFileElement() {
  end_ = TransferEnd();
  Deadline deadline(kElementTimeout);
  if (const unsigned code = readFileName(deadline); code != 0) {
    return code;
  }
  console::line("DataRxFileElement,fileAsciiName:" + shared::dataRxRecord.fileName);
  try {
    return receiveNamedFile(deadline);
  } catch (const std::exception& failure) {
    console::failure("DataRxFileElement<pos:3>:: Exception Met!", failure);
    end_.await(kFailedTransferWait);
    postIpcSemaphore(kRxComplete);  // the display must be released after a failed transfer, too
    return kStoreError;
  }
}

unsigned FileReception::receiveNamedFile(Deadline& deadline) {
  LcdPacketRecord& record = shared::dataRxRecord;
  applyControlEffects(record.fileName, deadline);
  const std::string& directory = shared::dontCareMode ? shared::tempDestDir : shared::targetRootDir;
  record.filePath = directory + "/" + record.fileName;

  std::array<std::byte, kLengthFieldSize> dataLength{};
  if (const unsigned code = readStage(reader_, kDataLengthStage, dataLength, deadline); code != 0) {
    return code;
  }
  if (storeFileData(directory, readU32(dataLength, 0))) {
    rebootIfAsked();
  }
  return 0;
}

// Reads the element's head and its name into the record.
unsigned FileReception::readFileName(Deadline& deadline) {
  std::array<std::byte, kFileElementHeadSize> head{};
  if (const unsigned code = readStage(reader_, kFileHeadStage, head, deadline); code != 0) {
    return code;
  }
  const std::size_t length = *decodeFileNameLength(head);
  LcdPacketRecord& record = shared::dataRxRecord;
  if (length > kMaxFileNameLength) {
    console::failure(kFileNameStage.exceptionHeading,
                     Poco::DataFormatException("a file name of " + std::to_string(length) + " bytes, at most " +
                                               std::to_string(kMaxFileNameLength) + " fit"));
    return kFileNameStage.exceptionCode;
  }
  const std::span<char> name = std::span(record.fileNameBuffer).first(length);
  if (const unsigned code = readStage(reader_, kFileNameStage, std::as_writable_bytes(name), deadline); code != 0) {
    return code;
  }
  record.fileNameBuffer.at(length) = '\0';
  record.fileName.assign(name.begin(), name.end());
  return 0;
}

// What the name asks for as soon as it is known, before any of the file's data has been read: the
// wait at the end of a transfer holds this thread with the rest of the element still unread.
void FileReception::applyControlEffects(const std::string& name, Deadline& deadline) {
  const ControlEffects effects = controlEffectsOf(name);
  if (effects.enterNormalMode) {
    shared::dontCareMode = false;
    if (shared::stagedTransfers) {
      shared::staging.begin(shared::targetRootDir);
    }
  }
  if (effects.enterDontCareMode) {
    shared::dontCareMode = true;
    shared::staging.discard();
    postIpcSemaphore(kStart2RxDontCare);
  }
  if (effects.endTransfer) {
    endTransfer();
    deadline.extend(end_.waited());
  }
  if (effects.logArchive) {
    const WriteBack::Writing writing(shared::writeBack);
    writing.intoFolder(kArchiveLogFolder);
    appendToArchiveLog(archiveReceivedText(name));
  }
}

// Staged files change places between the wait, in which the display lets go of the old ones, and the event
// upon which it looks at the new ones.
void FileReception::endTransfer() {
  if (!shared::dontCareMode) {
    postIpcSemaphore(kStart2Rx);
  }
  const bool isOnDisk = end_.await(kTransferEndWait);
  putStagedIntoPlace(isOnDisk);
  postIpcSemaphore(kRxComplete);
}

void FileReception::putStagedIntoPlace(bool isOnDisk) {
  if (!shared::staging.isOpen()) {
    return;
  }
  if (!isOnDisk) {
    throw Poco::TimeoutException("the staged files are not on the disk");
  }
  shared::staging.putIntoPlace();
}

// Where the file that is being received is to be written; throws what is wrong with its name.
Staging::Place FileReception::placeOfFile(const std::string& directory) {
  const std::string& name = shared::dataRxRecord.fileName;
  if (shared::staging.isOpen()) {
    return shared::staging.placeFor(name);
  }
  if (shared::stagedTransfers && !shared::dontCareMode) {
    refuseStagingName(directory, name);
  }
  return {.folder = directory, .name = name};
}

// Reads the data into the file; false when the peer closed the connection before the last byte (the
// file stays as far as it came).
bool FileReception::storeFileData(const std::string& directory, std::uint32_t dataLength) {
  const WriteBack::Writing writing(shared::writeBack);
  const Staging::Place place = placeOfFile(directory);
  FencedFile file(place.folder, place.name);
  writing.intoFile(file.descriptor(), shared::dataRxRecord.filePath);

  // A big file may take as long as it needs, but each 1024 bytes of it must come within the element's
  // time: a peer that trickles single bytes does not hold the service.
  const std::span<std::byte> buffer(shared::fileChunkBuffer);
  Deadline deadline(kElementTimeout);
  std::size_t sinceDeadline = 0;
  std::uint32_t remaining = dataLength;
  while (remaining > 0) {
    const std::size_t count = reader_.readSome(buffer.first(std::min<std::size_t>(remaining, buffer.size())), deadline);
    if (count == 0) {
      file.close();
      return false;
    }
    file.write(buffer.first(count));
    remaining -= static_cast<std::uint32_t>(count);
    sinceDeadline += count;
    if (sinceDeadline >= buffer.size()) {
      deadline = Deadline(kElementTimeout);
      sinceDeadline = 0;
    }
  }
  file.close();
  if (shared::staging.isOpen()) {
    shared::staging.add(shared::dataRxRecord.fileName);
  }
  return true;
}

void FileReception::rebootIfAsked() {
  const std::string lower = asciiLowerCase(shared::dataRxRecord.fileName);
  std::copy_n(lower.c_str(), lower.size() + 1, nameScratch.begin());
  if (!isRebootRequest(nameScratch.data())) {
    return;
  }
  if (shared::staging.isOpen()) {
    putStagedIntoPlace(end_.awaitDisk());
  }
  syncDisks();
  console::write("\nGoing to reboot device......\n");
  platform::sleepMs(kRebootWaitMs);
  postIpcSemaphore(kRxComplete);
  platform::runShell(kRestartCommand);
}

}  // namespace quendal
