#include "transfer/data_service_handler.h"

#include "base/console.h"
#include "base/shared_state.h"
#include "transfer/packet/byte_order.h"
#include "transfer/packet/lcd_packet.h"
#include "transfer/read_stages.h"
#include "transfer/transfer_state.h"

#include <Poco/Logger.h>
#include <Poco/Util/Application.h>

namespace quendal {

namespace {

void logConnectionEvent(const std::string& text) {
  Poco::Util::Application::instance().logger().information(text);
}

}  // namespace

DataServiceHandler::DataServiceHandler(const Poco::Net::StreamSocket& accepted, DataReactor& dispatcher)
    : socket(accepted),
      reactor(dispatcher),
      peer_(socket.peerAddress().toString()),
      reader_(socket, {.stop = shared::dataStopReq, .pause = shared::dataPauseReq}) {
  logConnectionEvent("Connection from " + peer_);
  reactor.add(
      socket, [this] { onReadable(); }, [this] { onShutdown(); });
}

DataServiceHandler::~DataServiceHandler() {
  try {
    logConnectionEvent("Disconnecting " + peer_);
  } catch (const std::exception& failure) {
    console::failure("DataServiceHandler: Exception Met!", failure);
  }
  reactor.remove(socket);
}

// What no stage has foreseen leaves the packet half read as well: what follows could not be told from its rest.
void DataServiceHandler::onReadable() {
  try {
    const unsigned code = readPacket();
    if (code == 0) {
      return;
    }
    console::line("Data TCP port read err, Err RC:" + std::to_string(code));
  } catch (const std::exception& failure) {
    console::failure("DataServiceHandler: Exception Met!", failure);
  }
  reactor.stopReading(socket);
  shared::dataReinitReq = true;
  reactor.awaitClose();
}

void DataServiceHandler::onShutdown() {
  delete this;
}

unsigned DataServiceHandler::readPacket() {
  if (const unsigned code = DataProcHeader(); code != 0) {
    return code;
  }
  if (shared::dataRxRecord.elementCount < kElementsWithCommandStatus) {
    return 0;
  }
  if (const unsigned code = DataRxCmdStatus(); code != 0) {
    return code;
  }
  if (shared::dataRxRecord.elementCount != kElementsWithFile) {
    return 0;
  }
  const unsigned result = fileReception_.DataRxFileElement();
  return result == 0 ? 0 : kFileElementErrorBase + result;
}

unsigned DataServiceHandler::DataProcHeader() {
  LcdPacketRecord& record = shared::dataRxRecord;
  const std::span<std::byte> raw(record.rawHeader);
  const Deadline deadline(kElementTimeout);

  if (const unsigned code = readStage(reader_, kHeaderLengthStage, raw.first(kLengthFieldSize), deadline); code != 0) {
    return code;
  }
  const std::uint32_t length = readU32(raw, 0);
  if (isHeaderLengthValid(length)) {
    record.headerLength = length;
    const auto rest = raw.subspan(kLengthFieldSize, length - kLengthFieldSize);
    if (const unsigned code = readStage(reader_, kHeaderStage, rest, deadline); code != 0) {
      return code;
    }
    takeHeaderFields(*decodeHeader(raw), record);
    if (record.sigWord == kSigWord) {
      return 0;
    }
  }
  console::line("DataProcHeader:Error Network packet format detected,disconnecting...");
  return kHeaderFormatError;
}

unsigned DataServiceHandler::DataRxCmdStatus() {
  LcdPacketRecord& record = shared::dataRxRecord;
  const std::span<std::byte> raw(record.rawCommandStatus);
  const Deadline deadline(kElementTimeout);

  if (const unsigned code = readStage(reader_, kCommandStatusLengthStage, raw.first(kLengthFieldSize), deadline);
      code != 0) {
    return code;
  }
  const std::uint32_t length = readU32(raw, 0);
  if (isCommandStatusLengthValid(length)) {
    record.commandStatusLength = length;
    const auto rest = raw.subspan(kLengthFieldSize, length - kLengthFieldSize);
    if (const unsigned code = readStage(reader_, kCommandStatusStage, rest, deadline); code != 0) {
      return code;
    }
    const CommandStatus status = *decodeCommandStatus(raw);
    record.commandCode = status.commandCode;
    if (isStatusKindValid(status.statusKind)) {
      return 0;
    }
  }
  console::line("DataRxCmdStatus:Error Network packet format detected,disconnecting...");
  return kCommandStatusFormatError;
}

}  // namespace quendal
