// Transfer packets as a transmitter sends them, built with the service's own codec.
#pragma once

#include "transfer/packet/lcd_packet.h"

#include <cstdint>
#include <span>
#include <string>

namespace quendal {

/// Bytes written as hexadecimal pairs; blanks are for the reader.
std::string fromHex(const std::string& pairs);

std::span<const std::byte> asBytes(const std::string& bytes);

/// A display's heartbeat, written byte for byte without the codec.
std::string heartbeatPacket();

/// A header of `elementCount` elements, `length` bytes long (at least 20): the rest is filler.
std::string headerElement(std::uint8_t elementCount, std::uint32_t length = kHeaderSize);

/// A command status, `length` bytes long (at least 8): the rest is filler.
std::string commandStatusElement(std::uint16_t statusKind = 1, std::uint32_t length = kPlainStatusSize);

/// The file element's bytes up to and including the name length.
std::string fileElementHead(std::uint16_t nameLength, std::uint32_t dataLength = 0);

std::string fileElement(const std::string& name, const std::string& data);

/// A whole packet that carries one file.
std::string filePacket(const std::string& name, const std::string& data);

}  // namespace quendal
