// When has the video stream gone quiet? The rule, as pure functions of counts.
#pragma once

#include <cstdint>

namespace quendal {

/// How many idle seconds are still no silence; the next one is.
inline constexpr std::uint32_t kToleratedIdleSeconds = 30;

/// What one second of the watch has found.
struct StreamSample {
  std::uint32_t packetsPerSecond = 0;
  std::uint32_t idleSeconds = 0;  // in a row, this second included; starts anew once silence was found
  bool silent = false;            // the display has to be told

  bool operator==(const StreamSample&) const = default;
};

/// The packets that came between two readings of the packet counter. A counter that has wrapped counts
/// from zero.
std::uint32_t packetsSince(std::uint32_t previousCount, std::uint32_t count);

/// Judges one second in which the packet counter went from `previousCount` to `count`, after
/// `idleSeconds` seconds without a packet. A stream that stays away is found silent again and again,
/// every kToleratedIdleSeconds + 1 seconds.
StreamSample sampleStream(std::uint32_t previousCount, std::uint32_t count, std::uint32_t idleSeconds);

}  // namespace quendal
