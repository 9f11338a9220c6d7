// The processes of a group, as /proc shows them to anybody.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace quendal {

/// A process: its number is given away again behind its end, the number and the start are not.
struct ProcessIdentity {
  pid_t pid = 0;
  unsigned long long startTime = 0;  // in ticks since the machine's start

  bool operator==(const ProcessIdentity&) const = default;
};

/// What the rule needs of a process's `stat` file.
struct ProcessStat {
  ProcessIdentity identity;
  pid_t group = 0;
  bool isZombie = false;
};

/// Parses a `stat` file; nothing when it is none. A program's name may hold blanks and parentheses. Pure.
std::optional<ProcessStat> parseProcessStat(const std::string& text);

/// The group's processes that live; one that has ended and was not asked for by its parent does not.
std::vector<ProcessIdentity> livingMembers(pid_t group);

/// Does this very process still live?
bool isLiving(const ProcessIdentity& process);

}  // namespace quendal
