#include "base/system_commands.h"

#include "base/platform.h"
#include "base/progress.h"

namespace quendal {

void syncDisks() {
  platform::runShell("sudo sync", writeOutProgress());
}

}  // namespace quendal
