// Little-endian numbers in byte spans: every number of the transfer packet is read and written here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quendal {

/// The unsigned 16-bit number at `offset` of `bytes`. The caller has checked that both bytes lie
/// inside; the bounds are asserted in library-assertion builds.
inline std::uint16_t readU16(std::span<const std::byte> bytes, std::size_t offset) {
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[offset]) |
                                    std::to_integer<unsigned>(bytes[offset + 1]) << 8U);
}

/// The unsigned 32-bit number at `offset` of `bytes`; bounds as for readU16.
inline std::uint32_t readU32(std::span<const std::byte> bytes, std::size_t offset) {
  return readU16(bytes, offset) | static_cast<std::uint32_t>(readU16(bytes, offset + 2)) << 16U;
}

/// Writes `value` as two bytes at `offset`; bounds as for readU16.
inline void writeU16(std::span<std::byte> bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<std::byte>(value);
  bytes[offset + 1] = static_cast<std::byte>(value >> 8U);
}

/// Writes `value` as four bytes at `offset`; bounds as for readU16.
inline void writeU32(std::span<std::byte> bytes, std::size_t offset, std::uint32_t value) {
  writeU16(bytes, offset, static_cast<std::uint16_t>(value));
  writeU16(bytes, offset + 2, static_cast<std::uint16_t>(value >> 16U));
}

}  // namespace quendal
