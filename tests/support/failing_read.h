// read(2) as it fails on worn cards and interrupted network drives: in the programs that are linked with
// --wrap=read.
#pragma once

namespace quendal::fake {

/// The next `successes` reads of the process go through, the one after them fails with `error`; none does if
/// `successes` is negative.
void failRead(int successes, int error);

}  // namespace quendal::fake
