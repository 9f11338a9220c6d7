// semop(2) as it fails when a signal comes in between: in the programs that are linked with --wrap=semop.
#pragma once

namespace quendal::fake {

/// The next `passes` calls of the process go through, the `count` calls after them fail with `error`.
void failSemop(int passes, int count, int error);

}  // namespace quendal::fake
