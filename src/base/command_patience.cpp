#include "base/command_patience.h"

namespace quendal {

CommandStep nextCommandStep(const CommandAge& age, const CommandLimits& limits) {
  if (age.sinceKilling) {
    return *age.sinceKilling >= limits.killing ? CommandStep::kLeave : CommandStep::kWait;
  }
  if (age.sinceTermination) {
    return *age.sinceTermination >= limits.termination ? CommandStep::kKill : CommandStep::kWait;
  }
  const bool isOverdue = age.sinceProgress >= limits.standstill;
  const bool isInTheWay = age.sinceStop && *age.sinceStop >= limits.stopping;
  return isOverdue || isInTheWay ? CommandStep::kTerminate : CommandStep::kWait;
}

}  // namespace quendal
