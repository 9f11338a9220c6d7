// When the multicast task sends a heartbeat and when it opens its socket anew. Pure functions.
#pragma once

namespace quendal {

/// Is a heartbeat due at the `timeoutCount`-th receive time-out since the socket was opened (from 1)?
bool isHeartbeatDue(unsigned timeoutCount);

/// Does the hour of the day `hour` (0 to 23) ask for a relaunch, after the last one at `lastHour`
/// (-1: none yet)? The hours that `factor` divides do, each once; with a factor of 0 only hour 0, with
/// a negative one the hours of its magnitude.
bool isRelaunchDue(int hour, int lastHour, int factor);

}  // namespace quendal
