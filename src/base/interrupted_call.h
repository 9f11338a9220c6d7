// System calls that a signal may interrupt.
#pragma once

#include <cerrno>

namespace quendal {

/// Makes `call`, which returns a negative number and sets errno when it fails, again for as long as signals
/// interrupt it; returns its result.
template <typename Call>
auto retryInterrupted(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

}  // namespace quendal
