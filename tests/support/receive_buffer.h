// The multicast side's receive buffer, filled by a test.
#pragma once

#include "support/packet_builder.h"
#include "transfer/packet/byte_order.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>

namespace quendal {

// The receive buffer after `datagram` has come into it; what lay there before is `rest`.
class ReceiveBuffer {
 public:
  explicit ReceiveBuffer(const std::string& datagram, std::byte rest = std::byte{0}) {
    bytes.fill(rest);
    std::ranges::copy(asBytes(datagram), bytes.begin());
  }

  void setU32(std::size_t offset, std::uint32_t value) { writeU32(bytes, offset, value); }

  std::array<std::byte, 1000> bytes{};
};

inline std::string text(std::span<const std::byte> bytes) {
  std::string result;
  std::ranges::transform(bytes, std::back_inserter(result), [](std::byte byte) { return static_cast<char>(byte); });
  return result;
}

}  // namespace quendal
