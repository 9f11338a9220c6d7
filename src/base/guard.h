// The guard at an edge that no exception may cross.
#pragma once

#include "base/console.h"

#include <exception>

namespace quendal {

/// Runs `step`, and reports an exception that escapes it under `heading`, such as "McTask: Exception Met!". Returns
/// whether `step` came to its end.
template <typename Step>
bool guard(const char* heading, const Step& step) {
  try {
    step();
    return true;
  } catch (const std::exception& failure) {
    console::failure(heading, failure);
    return false;
  }
}

}  // namespace quendal
