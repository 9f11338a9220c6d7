// When what has failed is tried again.
#pragma once

#include <Poco/Timestamp.h>

namespace quendal {

/// Is it time, at `now`, to try again what was tried at `last`? From ten seconds on; at once when the clock
/// has gone back meanwhile, so that a corrected clock puts nothing off. Pure.
bool isRetryDue(const Poco::Timestamp& last, const Poco::Timestamp& now);

}  // namespace quendal
