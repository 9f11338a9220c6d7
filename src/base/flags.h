// The types of the process-wide flags and counters.
#pragma once

#include <atomic>
#include <cstdint>

namespace quendal {

/// Written by one task and polled by another.
using Flag = std::atomic<bool>;
static_assert(Flag::is_always_lock_free);

using Counter = std::atomic<std::uint32_t>;
static_assert(Counter::is_always_lock_free);

}  // namespace quendal
