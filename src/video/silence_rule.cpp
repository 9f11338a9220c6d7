#include "video/silence_rule.h"

namespace quendal {

std::uint32_t packetsSince(std::uint32_t previousCount, std::uint32_t count) {
  return count >= previousCount ? count - previousCount : count;
}

StreamSample sampleStream(std::uint32_t previousCount, std::uint32_t count, std::uint32_t idleSeconds) {
  const std::uint32_t packets = packetsSince(previousCount, count);
  if (packets != 0) {
    return {.packetsPerSecond = packets};
  }
  if (idleSeconds >= kToleratedIdleSeconds) {
    return {.silent = true};
  }
  return {.idleSeconds = idleSeconds + 1};
}

}  // namespace quendal
