// When the multicast side speaks, and when it opens its socket anew. Pure functions.
#pragma once

#include <cstdint>

namespace quendal {

/// Is a heartbeat due at the `timeoutCount`-th receive time-out since the socket was opened (from 1)?
bool isHeartbeatDue(unsigned timeoutCount);

/// May a reply leave `secondsSinceLast` whole seconds after the last one? Not within 6 seconds, and
/// not when the clock has gone back by one second; when it has gone back further, a reply is due at
/// once, so that a corrected clock does not silence the display.
bool isReplyDue(std::int64_t secondsSinceLast);

/// Does the hour of the day `hour` (0 to 23) ask for a relaunch, after the last one at `lastHour`
/// (-1: none yet)? The hours that `factor` divides do, but not the last one again; with a factor of 0 only
/// hour 0, with a negative one the hours of its magnitude.
bool isRelaunchDue(int hour, int lastHour, int factor);

}  // namespace quendal
