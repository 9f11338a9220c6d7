#include "multicast/mc_schedule.h"

namespace quendal {
namespace {

constexpr unsigned kTimeoutsPerHeartbeat = 10;
constexpr std::uint64_t kReplyIntervalSeconds = 6;

}  // namespace

bool isHeartbeatDue(unsigned timeoutCount) {
  return timeoutCount % kTimeoutsPerHeartbeat == 0;
}

bool isReplyDue(std::int64_t secondsSinceLast) {
  return static_cast<std::uint64_t>(secondsSinceLast) + 1 > kReplyIntervalSeconds;
}

bool isRelaunchDue(int hour, int lastHour, int factor) {
  if (hour == lastHour) {
    return false;
  }
  return factor == 0 ? hour == 0 : hour % factor == 0;
}

}  // namespace quendal
