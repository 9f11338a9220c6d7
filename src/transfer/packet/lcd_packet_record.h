// The in-memory record of one transfer packet: received into, or built in before sending.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace quendal {

/// Capacities of the record in bytes. A packet whose lengths exceed them is refused before it is read.
inline constexpr std::size_t kMaxHeaderLength = 1026;
inline constexpr std::size_t kMaxCommandStatusLength = 1024;
inline constexpr std::size_t kMaxFileNameLength = 1023;

/// One packet. The raw areas hold the elements byte for byte as on the wire (docs/wire-format.md),
/// each from its own length field on; the other fields are what was taken from them. File data is
/// never held here.
struct LcdPacketRecord {
  std::uint16_t elementCount = 0;
  std::array<std::byte, kMaxHeaderLength> rawHeader{};
  std::uint32_t headerLength = 0;
  std::array<std::byte, kMaxCommandStatusLength> rawCommandStatus{};
  std::uint32_t commandStatusLength = 0;
  std::uint16_t commandCode = 0;
  std::string fileName;
  std::array<char, kMaxFileNameLength + 1> fileNameBuffer{};  // zero-terminated
  std::string filePath;
  std::uint32_t requestWordA = 0;
  std::uint32_t requestWordB = 0;
  std::uint32_t sigWord = 0;
};

}  // namespace quendal
