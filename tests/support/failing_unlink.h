// unlink(2) as it fails on a worn card: in the programs that are linked with --wrap=unlink.
#pragma once

namespace quendal::fake {

/// The next `count` unlinks of the program's own code fail with `error`.
void failUnlink(int count, int error);

}  // namespace quendal::fake
