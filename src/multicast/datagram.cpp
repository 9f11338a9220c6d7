#include "multicast/datagram.h"

#include "transfer/packet/byte_order.h"
#include "transfer/packet/lcd_packet.h"

#include <algorithm>
#include <array>

namespace quendal {
namespace {

// A length below the fixed fields is no error here: those are read from the buffer, where they lie in
// any case.
bool takeHeader(std::span<const std::byte> buffer, LcdPacketRecord& record) {
  const std::optional<LcdHeader> header = decodeHeader(buffer);
  if (!header || header->headerLength > std::min(buffer.size(), record.rawHeader.size())) {
    return false;
  }
  std::copy_n(buffer.begin(), header->headerLength, record.rawHeader.begin());
  takeHeaderFields(*header, record);
  return true;
}

bool takeCommandStatus(std::span<const std::byte> bytes, LcdPacketRecord& record, bool& isKindValid) {
  const std::optional<CommandStatus> status = decodeCommandStatus(bytes);
  if (!status || status->elementLength > std::min(bytes.size(), record.rawCommandStatus.size())) {
    return false;
  }
  std::copy_n(bytes.begin(), status->elementLength, record.rawCommandStatus.begin());
  record.commandStatusLength = status->elementLength;
  record.commandCode = status->commandCode;
  isKindValid = isStatusKindValid(status->statusKind);
  return true;
}

// The data of the file element at the start of `bytes`; nothing when it does not fit.
std::optional<std::span<const std::byte>> takeFileElement(std::span<const std::byte> bytes, LcdPacketRecord& record) {
  const std::size_t nameLength = decodeFileNameLength(bytes).value_or(0);
  if (bytes.size() < kFileElementOverhead + nameLength || nameLength > kMaxFileNameLength) {
    return std::nullopt;
  }
  const std::span<const std::byte> name = bytes.subspan(kFileElementHeadSize, nameLength);
  const std::size_t dataLength = readU32(bytes, kFileElementHeadSize + nameLength);
  const std::span<const std::byte> rest = bytes.subspan(kFileElementOverhead + nameLength);
  if (dataLength > rest.size()) {
    return std::nullopt;
  }
  std::transform(name.begin(), name.end(), record.fileNameBuffer.begin(),
                 [](std::byte letter) { return static_cast<char>(letter); });
  record.fileNameBuffer.at(nameLength) = '\0';
  record.fileName.assign(record.fileNameBuffer.data(), nameLength);
  return rest.first(dataLength);
}

std::string signatureReport(std::uint32_t sigWord) {
  std::array<std::byte, sizeof sigWord> bytes{};
  writeU32(bytes, 0, sigWord);
  std::string report("\nsig Word Bytes:");
  for (const std::byte byte : bytes) {
    report.push_back(static_cast<char>(byte));
    report.push_back('\t');
  }
  return report + "\nError Network packet format detected::sigWord Code:" + std::to_string(sigWord) +
         ",disconnecting...";
}

}  // namespace

DatagramContent unpackDatagram(std::span<const std::byte> buffer, LcdPacketRecord& record) {
  DatagramContent content;
  if (!takeHeader(buffer, record)) {
    return content;
  }
  content.isSigWordValid = record.sigWord == kSigWord;
  if (record.elementCount < kElementsWithCommandStatus) {
    content.fits = true;
    return content;
  }
  buffer = buffer.subspan(record.headerLength);
  if (!takeCommandStatus(buffer, record, content.isStatusKindValid)) {
    return content;
  }
  if (record.elementCount != kElementsWithFile) {
    content.fits = true;
    return content;
  }
  content.fileData = takeFileElement(buffer.subspan(record.commandStatusLength), record);
  content.fits = content.fileData.has_value();
  return content;
}

std::string datagramReport(const DatagramContent& content, std::uint32_t sigWord) {
  constexpr const char* kFormatError = "\nError Network packet format detected,disconnecting...";
  std::string report;
  if (!content.isSigWordValid) {
    report += signatureReport(sigWord);
  }
  if (!content.isStatusKindValid) {
    report += kFormatError;
  }
  if (!content.fits) {
    report += kFormatError;
  }
  return report;
}

}  // namespace quendal
