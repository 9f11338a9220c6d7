// A mutex that refuses its lock, which std::mutex throws as std::system_error: in the programs that are linked with
// --wrap=pthread_mutex_lock.
#pragma once

namespace quendal::fake {

/// The next lock that this thread asks for is refused; those of other threads and all later ones are had.
void failNextLock();

}  // namespace quendal::fake
