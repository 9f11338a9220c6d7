#include "transfer/packet/lcd_packet.h"

#include "transfer/packet/byte_order.h"

#include <algorithm>
#include <limits>

namespace quendal {
namespace {

constexpr std::size_t kPacketMarkOffset = 4;
constexpr std::size_t kElementCountOffset = 6;
constexpr std::size_t kReservedOffset = 7;
constexpr std::size_t kRequestWordAOffset = 8;
constexpr std::size_t kRequestWordBOffset = 12;
constexpr std::size_t kSigWordOffset = 16;

constexpr std::size_t kStatusKindOffset = 4;
constexpr std::size_t kCommandCodeOffset = 6;
constexpr std::size_t kUnitNoOffset = 10;
constexpr std::size_t kColumnNoOffset = 12;
constexpr std::size_t kGroupNoOffset = 14;

constexpr std::size_t kElementKindOffset = 4;  // of a file element
constexpr std::size_t kElementReservedOffset = 6;
constexpr std::size_t kNameLengthOffset = 8;
constexpr std::uint16_t kFileElementKind = 3;

}  // namespace

bool isHeaderLengthValid(std::uint32_t length) {
  return length >= kHeaderSize && length <= kMaxHeaderLength;
}

bool isCommandStatusLengthValid(std::uint32_t length) {
  return length >= kCommandStatusMinSize && length <= kMaxCommandStatusLength;
}

bool isStatusKindValid(std::uint16_t kind) {
  return kind == 1 || kind == 2;
}

std::optional<LcdHeader> decodeHeader(std::span<const std::byte> bytes) {
  if (bytes.size() < kHeaderSize) {
    return std::nullopt;
  }
  return LcdHeader{.headerLength = readU32(bytes, 0),
                   .packetMark = readU16(bytes, kPacketMarkOffset),
                   .elementCount = std::to_integer<std::uint8_t>(bytes[kElementCountOffset]),
                   .requestWordA = readU32(bytes, kRequestWordAOffset),
                   .requestWordB = readU32(bytes, kRequestWordBOffset),
                   .sigWord = readU32(bytes, kSigWordOffset)};
}

bool encodeHeader(const LcdHeader& header, std::span<std::byte> out) {
  if (out.size() < kHeaderSize) {
    return false;
  }
  writeU32(out, 0, header.headerLength);
  writeU16(out, kPacketMarkOffset, header.packetMark);
  out[kElementCountOffset] = static_cast<std::byte>(header.elementCount);
  out[kReservedOffset] = std::byte{0};
  writeU32(out, kRequestWordAOffset, header.requestWordA);
  writeU32(out, kRequestWordBOffset, header.requestWordB);
  writeU32(out, kSigWordOffset, header.sigWord);
  return true;
}

std::optional<CommandStatus> decodeCommandStatus(std::span<const std::byte> bytes) {
  if (bytes.size() < kCommandStatusMinSize) {
    return std::nullopt;
  }
  return CommandStatus{.elementLength = readU32(bytes, 0),
                       .statusKind = readU16(bytes, kStatusKindOffset),
                       .commandCode = readU16(bytes, kCommandCodeOffset)};
}

bool encodeCommandStatus(const CommandStatus& status, std::span<std::byte> out) {
  if (out.size() < kCommandStatusMinSize) {
    return false;
  }
  writeU32(out, 0, status.elementLength);
  writeU16(out, kStatusKindOffset, status.statusKind);
  writeU16(out, kCommandCodeOffset, status.commandCode);
  return true;
}

std::optional<DisplayIdentity> decodeDisplayIdentity(std::span<const std::byte> commandStatus) {
  if (commandStatus.size() < kAddressedStatusSize) {
    return std::nullopt;
  }
  return DisplayIdentity{.groupNo = readU16(commandStatus, kGroupNoOffset),
                         .columnNo = readU16(commandStatus, kColumnNoOffset),
                         .displayNo = readU16(commandStatus, kUnitNoOffset)};
}

bool encodeDisplayIdentity(const DisplayIdentity& addressed, std::span<std::byte> commandStatus) {
  if (commandStatus.size() < kAddressedStatusSize) {
    return false;
  }
  writeU16(commandStatus, kUnitNoOffset, addressed.displayNo);
  writeU16(commandStatus, kColumnNoOffset, addressed.columnNo);
  writeU16(commandStatus, kGroupNoOffset, addressed.groupNo);
  return true;
}

std::optional<std::uint16_t> decodeFileNameLength(std::span<const std::byte> bytes) {
  if (bytes.size() < kFileElementHeadSize) {
    return std::nullopt;
  }
  return readU16(bytes, kNameLengthOffset);
}

bool encodeFileElement(std::string_view name, std::span<const std::byte> data, std::span<std::byte> out) {
  constexpr std::size_t kLongestName = std::numeric_limits<std::uint16_t>::max();
  if (name.size() > kLongestName || out.size() < kFileElementOverhead + name.size() ||
      out.size() - kFileElementOverhead - name.size() < data.size()) {
    return false;
  }
  writeU32(out, 0, static_cast<std::uint32_t>(kFileElementOverhead + name.size() + data.size()));
  writeU16(out, kElementKindOffset, kFileElementKind);
  writeU16(out, kElementReservedOffset, 0);
  writeU16(out, kNameLengthOffset, static_cast<std::uint16_t>(name.size()));
  std::ranges::copy(std::as_bytes(std::span(name)), out.subspan(kFileElementHeadSize).begin());
  writeU32(out, kFileElementHeadSize + name.size(), static_cast<std::uint32_t>(data.size()));
  std::ranges::copy(data, out.subspan(kFileElementOverhead + name.size()).begin());
  return true;
}

void takeHeaderFields(const LcdHeader& header, LcdPacketRecord& record) {
  record.elementCount = header.elementCount;
  record.headerLength = header.headerLength;
  record.requestWordA = header.requestWordA;
  record.requestWordB = header.requestWordB;
  record.sigWord = header.sigWord;
}

}  // namespace quendal
