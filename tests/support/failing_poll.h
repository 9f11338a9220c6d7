// poll(2) as it fails when memory is short or a signal comes in between: in the programs that are linked with
// --wrap=poll.
#pragma once

namespace quendal::fake {

/// The next `count` polls of the program's own code fail with `error`.
void failPoll(int count, int error);

}  // namespace quendal::fake
