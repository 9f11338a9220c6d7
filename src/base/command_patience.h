// How long a running command is waited for, and how one that hangs is ended: the rule.
#pragma once

#include <chrono>
#include <optional>

namespace quendal {

/// The times of the rule. docs/decisions/0016 says why these.
struct CommandLimits {
  std::chrono::milliseconds standstill{60000};  // without progress; a command that shows none has no more in all
  std::chrono::milliseconds stopping{2000};     // from a request to stop the service, or a later start, on
  std::chrono::milliseconds termination{2000};  // from SIGTERM to SIGKILL
  std::chrono::milliseconds killing{500};       // from SIGKILL until the command is left behind
};

/// Where a running command stands.
struct CommandAge {
  std::chrono::milliseconds sinceProgress{0};                   // or since its start
  std::optional<std::chrono::milliseconds> sinceStop{};         // once the service is asked to stop
  std::optional<std::chrono::milliseconds> sinceTermination{};  // once it was sent SIGTERM
  std::optional<std::chrono::milliseconds> sinceKilling{};      // once it was sent SIGKILL
};

enum class CommandStep {
  kWait,
  kTerminate,  // send SIGTERM
  kKill,       // send SIGKILL
  kLeave,      // it cannot be ended: go on without it
};

/// What is due. Pure.
CommandStep nextCommandStep(const CommandAge& age, const CommandLimits& limits);

}  // namespace quendal
