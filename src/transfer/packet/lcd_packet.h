// Codec of the transfer packet `LcdPacket`: header, command status and file element.
//
// Pure functions over byte spans, the same for the TCP stream and the multicast datagrams. The byte
// layout stands in docs/wire-format.md. A decoder returns nothing when its bytes do not hold the
// element's fixed fields, and looks at no byte beyond them.
#pragma once

#include "base/display_identity.h"
#include "transfer/packet/lcd_packet_record.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quendal {

inline constexpr std::uint32_t kSigWord = 0xA5A58EE8;  // on the wire E8 8E A5 A5
inline constexpr std::uint16_t kPacketMark = 0xC55C;

inline constexpr std::size_t kLengthFieldSize = 4;       // every element begins with its own length
inline constexpr std::size_t kHeaderSize = 20;           // the header's fixed fields, and all that we send
inline constexpr std::size_t kCommandStatusMinSize = 8;  // length, kind and code
inline constexpr std::size_t kPlainStatusSize = 9;       // a status with its flag byte
inline constexpr std::size_t kAddressedStatusSize = 16;  // a status with unit, column and group number
inline constexpr std::size_t kFileElementHeadSize = 10;  // up to and including the name length
inline constexpr std::size_t kFileElementOverhead = 14;  // all of the element but name and data

inline constexpr unsigned kElementsWithCommandStatus = 2;  // and more: a command status follows the header
inline constexpr unsigned kElementsWithFile = 3;           // exactly: a file element follows that

inline constexpr std::uint16_t kAliveRequest = 0x0101;
inline constexpr std::uint16_t kAliveReply = 0x0102;

struct LcdHeader {
  std::uint32_t headerLength = kHeaderSize;
  std::uint16_t packetMark = kPacketMark;
  std::uint8_t elementCount = 1;
  std::uint32_t requestWordA = 0;
  std::uint32_t requestWordB = 0;
  std::uint32_t sigWord = kSigWord;
};

struct CommandStatus {
  std::uint32_t elementLength = kPlainStatusSize;
  std::uint16_t statusKind = 0;
  std::uint16_t commandCode = 0;
};

/// Can a header of `length` bytes (its own length field) be held, and does it have all fixed fields?
bool isHeaderLengthValid(std::uint32_t length);

/// The same for a command status element.
bool isCommandStatusLengthValid(std::uint32_t length);

/// Is `kind` one of the two status kinds, 1 and 2?
bool isStatusKindValid(std::uint16_t kind);

/// Header fields from an element's first 20 bytes.
std::optional<LcdHeader> decodeHeader(std::span<const std::byte> bytes);

/// Writes the 20 bytes of `header` to the start of `out`; false when they do not fit.
bool encodeHeader(const LcdHeader& header, std::span<std::byte> out);

/// Command status fields from an element's first 8 bytes.
std::optional<CommandStatus> decodeCommandStatus(std::span<const std::byte> bytes);

/// Writes length, kind and code to the first 8 bytes of `out`; false when they do not fit.
bool encodeCommandStatus(const CommandStatus& status, std::span<std::byte> out);

/// The display that is addressed: unit, column and group number at offsets 10, 12 and 14 of a command status
/// element.
std::optional<DisplayIdentity> decodeDisplayIdentity(std::span<const std::byte> commandStatus);

/// Writes `addressed` to offsets 10 to 15 of a command status element; false when it does not fit.
bool encodeDisplayIdentity(const DisplayIdentity& addressed, std::span<std::byte> commandStatus);

/// The length of the file name, from a file element's first 10 bytes.
std::optional<std::uint16_t> decodeFileNameLength(std::span<const std::byte> bytes);

/// Writes a whole file element, with its name's and its data's length, to the first 14 bytes and as many
/// as name and data have of `out`; false when they do not fit. A name has 65535 bytes at most.
bool encodeFileElement(std::string_view name, std::span<const std::byte> data, std::span<std::byte> out);

/// Copies the fields of `header` into the record's own.
void takeHeaderFields(const LcdHeader& header, LcdPacketRecord& record);

}  // namespace quendal
