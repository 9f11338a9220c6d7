// The packet codec over arbitrary bytes, element by element as a receiver walks them.

#include "fuzz/require.h"
#include "transfer/packet/lcd_packet.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quendal {
namespace {

using fuzz::require;
using Bytes = std::span<const std::byte>;

constexpr std::size_t kReservedOffset = 7;

// A header that is written again is what it was, but for the reserved byte.
void checkHeader(Bytes bytes) {
  const auto header = decodeHeader(bytes);
  require(header.has_value() == (bytes.size() >= kHeaderSize), "a header is decoded from its fixed fields");
  if (!header) {
    return;
  }
  std::array<std::byte, kHeaderSize> again{};
  require(encodeHeader(*header, again), "20 bytes hold a header");
  again[kReservedOffset] = bytes[kReservedOffset];
  require(std::equal(again.begin(), again.end(), bytes.begin()), "a header survives the round trip");
}

void checkCommandStatus(Bytes bytes) {
  const auto status = decodeCommandStatus(bytes);
  require(status.has_value() == (bytes.size() >= kCommandStatusMinSize), "a status is decoded from its fixed fields");
  std::array<std::byte, kAddressedStatusSize> again{};
  if (status) {
    require(encodeCommandStatus(*status, again), "16 bytes hold a status");
    require(std::equal(again.begin(), again.begin() + kCommandStatusMinSize, bytes.begin()),
            "a status survives the round trip");
  }
  if (const auto address = decodeDisplayIdentity(bytes)) {
    constexpr std::size_t kAddressOffset = 10;
    require(encodeDisplayIdentity(*address, again), "16 bytes hold an address");
    require(std::equal(again.begin() + kAddressOffset, again.end(), bytes.begin() + kAddressOffset),
            "an address survives the round trip");
  }
}

// As a receiver does: each element from where the one before it ends, never beyond the record.
void walk(Bytes bytes) {
  const auto header = decodeHeader(bytes);
  if (!header || !isHeaderLengthValid(header->headerLength) || header->headerLength > bytes.size()) {
    return;
  }
  require(header->headerLength <= kMaxHeaderLength, "a valid header fits the record");
  bytes = bytes.subspan(header->headerLength);
  const auto status = decodeCommandStatus(bytes);
  if (!status || !isCommandStatusLengthValid(status->elementLength) || status->elementLength > bytes.size()) {
    return;
  }
  require(status->elementLength <= kMaxCommandStatusLength, "a valid status fits the record");
  checkCommandStatus(bytes.first(status->elementLength));
  bytes = bytes.subspan(status->elementLength);
  require(decodeFileNameLength(bytes).has_value() == (bytes.size() >= kFileElementHeadSize),
          "a name length is decoded from the file element's head");
}

}  // namespace
}  // namespace quendal

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::byte> bytes = std::as_bytes(std::span(data, size));
  quendal::checkHeader(bytes);
  quendal::checkCommandStatus(bytes);
  quendal::walk(bytes);
  return 0;
}
