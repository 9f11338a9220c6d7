// How the duties of the technician's stick wait.
#pragma once

#include <functional>

namespace quendal {

/// Waits that many milliseconds, or until the service is asked to stop; every later call then returns
/// at once. Returns true when a stop has been asked for.
using StoppableWait = std::function<bool(long milliseconds)>;

}  // namespace quendal
