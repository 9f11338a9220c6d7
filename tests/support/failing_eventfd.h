// eventfd(2) as it fails when no descriptor is left: whoever links this has it between the libraries and the system.
#pragma once

namespace quendal::fake {

/// From now on every eventfd of the process fails, or none.
void failEventfd(bool fails);

/// How many have failed.
int failedEventfds();

}  // namespace quendal::fake
